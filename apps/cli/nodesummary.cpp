// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/nodesummary.h"

#include "cli/valuetext.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include "session/hintrecord.h"

namespace tq::cli {

QJsonObject nodeSummary(const NodeDB& database, const Node& node)
{
    static const QStringList names{ text("Name"), text("NodeType"), text("IP"), text("Port"),
        text("SSL"), text("MAC"), text("ModelInfo") };
    const tqgen::PropertySet properties = node.properties();
    QJsonObject result{ { text("ID"), node.id() },
        { text("TypeName"), database.readableNodeTypeName(node.type()) } };
    for (const QString& name : names) {
        if (const auto* const property = properties.find(name))
            result.insert(name, shownValue(name, property->value()));
    }
    // The set shows a changed name only after its next refresh.
    result.insert(text("Name"), node.name());
    return result;
}

const QList<Column>& nodeColumns()
{
    static const QList<Column> columns{ { text("ID"), text("ID") }, { text("NAME"), text("Name") },
        { text("TYPE"), text("TypeName") }, { text("ADDRESS"), text("IP") },
        { text("PORT"), text("Port") }, { text("SSL"), text("SSL") }, { text("MAC"), text("MAC") },
        { text("MODEL"), text("ModelInfo") } };
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
