// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/nodesummary.h"

#include "cli/valuetext.h"

#include "discovery/inodedrivercomponent.h"
#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include "platform/plugincall.h"
#include "session/hintrecord.h"

#include <algorithm>

namespace tq::cli {

Outcome callNode(const NodeDB& database, const Node& node, const std::function<Outcome()>& call)
{
    Outcome outcome;
    const auto thrown = thrownBy([&] { outcome = call(); });
    if (!thrown)
        return outcome;
    const auto driver = database.nodeDriver(node.type());
    const QString name = driver.null()
        ? QString()
        : callPlugin("driverName", QString(), [&] { return driver->driverName(); });
    return Outcome::refused(QStringLiteral("the node %1 of the driver %2 failed: %3")
                                .arg(quoted(node.id()), quoted(name), *thrown));
}

QJsonObject nodeSummary(const NodeDB& database, const Node& node)
{
    static const QStringList names{ text("Name"), text("NodeType"), text("IP"), text("Port"),
        text("SSL"), text("MAC"), text("ModelInfo") };
    QJsonObject result{ { text("ID"), node.id() },
        { text("TypeName"), database.readableNodeTypeName(node.type()) } };
    const Outcome outcome = callNode(database, node, [&] {
        const tqgen::PropertySet properties = node.properties();
        for (const QString& name : names) {
            if (const auto* const property = properties.find(name))
                result.insert(name, shownValue(name, property->value()));
        }
        // The set shows a changed name only after its next refresh.
        result.insert(text("Name"), node.name());
        return Outcome::done();
    });
    if (!outcome.isDone())
        result.insert(text("Error"), outcome.sentence);
    return result;
}

QList<Column> nodeColumns(const QList<QJsonObject>& summaries)
{
    QList<Column> columns{ { text("ID"), text("ID") }, { text("NAME"), text("Name") },
        { text("TYPE"), text("TypeName") }, { text("ADDRESS"), text("IP") },
        { text("PORT"), text("Port") }, { text("SSL"), text("SSL") }, { text("MAC"), text("MAC") },
        { text("MODEL"), text("ModelInfo") } };
    const Column errors{ text("ERROR"), text("Error") };
    if (std::any_of(summaries.cbegin(), summaries.cend(),
            [&](const QJsonObject& summary) { return summary.contains(errors.key); }))
        columns.append(errors);
    return columns;
}

QJsonObject hintSummary(const NodeHint& hint)
{
    const HintRecord facts = recordOf(hint);
    QJsonObject result;
    const auto put = [&](const char* name, const QString& value) {
        if (!value.isEmpty())
            result.insert(text(name), value);
    };
    put("Name", facts.name);
    put("IP", facts.address);
    put("MAC", facts.mac);
    return result;
}

} // namespace tq::cli
