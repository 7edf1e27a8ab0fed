// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/invocation.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"

namespace tq::cli {

namespace {

Outcome removeNodes(Invocation& call)
{
    QStringList ids = call.arguments();
    ids.removeDuplicates();
    Outcome outcome = call.open(OpenMode::ReadWrite);
    for (const QString& id : ids) {
        if (outcome.isDone())
            outcome = call.requireNode(id);
    }
    if (!outcome.isDone())
        return outcome;
    for (const QString& id : ids) {
        call.database().removeNode(id);
        if (!call.database().node(id).null())
            return Outcome::refused(QStringLiteral("the node %1 is in use").arg(quoted(id)));
        call.output().addItem({ { QStringLiteral("ID"), id } });
    }
    outcome = call.save();
    if (outcome.isDone())
        call.output().print(QStringLiteral("removed: ") + ids.join(QStringLiteral(", ")));
    return outcome;
}

} // namespace

QList<Command> removeCommands()
{
    return { { QStringLiteral("remove"), QStringLiteral("ID…"),
        QStringLiteral("Remove nodes and their relations."), 1, Command::k_anyNumber, {},
        removeNodes } };
}

} // namespace tq::cli
