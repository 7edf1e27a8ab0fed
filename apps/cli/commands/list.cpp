// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/inputrules.h"
#include "cli/invocation.h"
#include "cli/nodesummary.h"
#include "cli/valuetext.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include "platform/plugincall.h"

#include <QCommandLineParser>

#include <limits>

namespace tq::cli {

namespace {

const QString k_type = QStringLiteral("type");
const QString k_where = QStringLiteral("where");

/** Keeps the nodes whose properties have the values that --where asks for. */
class Filter
{
public:
    Outcome addConditions(const QStringList& texts)
    {
        for (const QString& text : texts) {
            const qsizetype sign = text.indexOf(QLatin1Char('='));
            if (sign <= 0)
                return Outcome::usage(
                    QStringLiteral("--where wants NAME=VALUE, not %1").arg(quoted(text)));
            const QString name = text.left(sign);
            m_conditions.append({ name, text.mid(sign + 1),
                QStringLiteral("no node has a property %1").arg(quoted(name)) });
        }
        return Outcome::done();
    }

    bool matches(const Node& node)
    {
        if (m_conditions.isEmpty())
            return true;
        const tqgen::PropertySet properties =
            callPlugin("properties", tqgen::PropertySet(), [&] { return node.properties(); });
        bool result = true;
        for (Condition& condition : m_conditions)
            result = matches(properties, condition) && result;
        return result;
    }

    /** Refuses a name or a value that made sense for none of the nodes looked at. */
    Outcome verdict() const
    {
        for (const Condition& condition : m_conditions) {
            if (!condition.complaint.isEmpty())
                return Outcome::refused(condition.complaint);
        }
        return Outcome::done();
    }

private:
    struct Condition
    {
        QString name;
        QString text;
        QString complaint; ///< empty once it made sense for a node
    };

    static bool matches(const tqgen::PropertySet& properties, Condition& condition)
    {
        const tqgen::BaseProperty* const property = properties.find(condition.name);
        if (!property)
            return false;
        const QMetaType type = property->value().metaType();
        QVariant wanted;
        const QString error = isSecret(condition.name, type)
            ? QStringLiteral("%1 is a password: nodes are not searched for it").arg(condition.name)
            : valueFromText(condition.name, condition.text, type, wanted);
        if (error.isEmpty() || !condition.complaint.isEmpty())
            condition.complaint = error;
        return error.isEmpty() && property->value() == wanted;
    }

    QList<Condition> m_conditions;
};

Outcome list(Invocation& call)
{
    Outcome outcome;
    int type = eAnyNodeType;
    if (call.options().isSet(k_type)) {
        const auto given = call.number(k_type, 0, std::numeric_limits<int>::max(), outcome);
        if (!given)
            return outcome;
        type = *given;
    }
    Filter filter;
    outcome = filter.addConditions(call.options().values(k_where));
    if (outcome.isDone())
        outcome = call.open(OpenMode::ReadOnly);
    if (!outcome.isDone())
        return outcome;
    NodeDB& database = call.database();
    const QString error = type == eAnyNodeType ? QString() : nodeTypeError(database, type);
    if (!error.isEmpty())
        return Outcome::refused(error);
    const QStringList ids = database.search(ENodeType(type));
    QList<QJsonObject> items;
    for (const QString& id : ids) {
        const auto node = database.node(id); // null when one before it has removed it
        if (!node.null() && filter.matches(*node))
            items.append(nodeSummary(database, *node));
    }
    if (!ids.isEmpty())
        outcome = filter.verdict();
    if (outcome.isDone())
        call.output().addItems(items, nodeColumns(items));
    return outcome;
}

/** Adds a row for each property, nested ones under "Set/Name". */
void addRows(Table& table, const QString& prefix, const tqgen::PropertySet& set)
{
    for (const auto& property : set.properties()) {
        const QVariant value = property->value();
        const QString name = prefix + property->name();
        if (value.metaType() == QMetaType::fromType<tqgen::PropertySet>())
            addRows(table, name + QLatin1Char('/'), value.value<tqgen::PropertySet>());
        else
            table.addRow({ name, cellText(shownValue(name, value)), property->description() });
    }
}

Outcome show(Invocation& call)
{
    const QString id = call.arguments().first();
    Outcome outcome = call.open(OpenMode::ReadOnly);
    if (outcome.isDone())
        outcome = call.requireNode(id);
    if (!outcome.isDone())
        return outcome;
    const auto node = call.database().node(id);
    tqgen::PropertySet properties;
    outcome = callNode(call.database(), *node, [&] {
        properties = node->properties();
        return Outcome::done();
    });
    if (!outcome.isDone())
        return outcome;
    Table table({ QStringLiteral("NAME"), QStringLiteral("VALUE"), QStringLiteral("MEANING") });
    addRows(table, QString(), properties);
    call.output().addItem(shownProperties(properties));
    call.output().print(table);
    return outcome;
}

} // namespace

QList<Command> listCommands()
{
    Command lists{ QStringLiteral("list"), QString(), QStringLiteral("List the nodes.") };
    lists.addOptions = [](QCommandLineParser& parser) {
        parser.addOption(
            { k_type, QStringLiteral("Only nodes of this type."), QStringLiteral("T") });
        parser.addOption({ k_where, QStringLiteral("Only nodes with this value."),
            QStringLiteral("NAME=VALUE") });
    };
    lists.run = list;
    return { lists,
        { QStringLiteral("show"), QStringLiteral("ID"),
            QStringLiteral("Show all properties of a node."), 1, 1, {}, show } };
}

} // namespace tq::cli
