// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/deviceread.h"
#include "cli/invocation.h"
#include "cli/nodesummary.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"

namespace tq::cli {

namespace {

Outcome read(Invocation& call)
{
    const QString id = call.arguments().first();
    Outcome outcome = call.open(OpenMode::ReadWrite);
    if (outcome.isDone())
        outcome = call.requireNode(id);
    if (outcome.isDone())
        outcome = readDevice(call, id);
    if (!outcome.isDone())
        return outcome;
    NodeDB& database = call.database();
    if (const auto node = database.node(id))
        call.output().addItems({ nodeSummary(database, *node) }, nodeColumns());
    return outcome;
}

} // namespace

QList<Command> readCommands()
{
    return { { QStringLiteral("read"), QStringLiteral("ID"),
        QStringLiteral("Read from a device, with its node's login, what it tells of itself."), 1, 1,
        {}, read } };
}

} // namespace tq::cli
