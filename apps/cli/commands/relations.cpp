// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/inputrules.h"
#include "cli/invocation.h"

#include "nodestore/nodedb.h"

#include <algorithm>

namespace tq::cli {

namespace {

struct Relation
{
    QString from;
    QString to;
    ENodeRelationType type = eDeviceToRecordingFolder;
    bool exists = false;
};

QJsonObject item(const QString& from, int type, const QString& to)
{
    return { { QStringLiteral("NodeFrom"), from }, { QStringLiteral("RelationType"), type },
        { QStringLiteral("NodeTo"), to } };
}

QString sentence(const Relation& relation)
{
    return QStringLiteral("relation %1 from %2 to %3")
        .arg(int(relation.type))
        .arg(quoted(relation.from), quoted(relation.to));
}

/** Opens the store and reads the arguments FROM TYPE TO. */
Outcome prepare(Invocation& call, Relation& relation)
{
    bool isNumber = false;
    const QString type = call.arguments()[1];
    relation.type = ENodeRelationType(type.toInt(&isNumber));
    if (!isNumber)
        return Outcome::refused(
            QStringLiteral("the type of a relation is a number, not %1").arg(quoted(type)));
    relation.from = call.arguments()[0];
    relation.to = call.arguments()[2];
    Outcome outcome = call.open(OpenMode::ReadWrite);
    for (const QString& id : { relation.from, relation.to }) {
        if (outcome.isDone())
            outcome = call.requireNode(id);
    }
    if (outcome.isDone())
        relation.exists =
            call.database().relatedNodes(relation.from, relation.type).contains(relation.to);
    return outcome;
}

Outcome finish(Invocation& call, const Relation& relation, const QString& what)
{
    const Outcome outcome = call.save();
    call.output().addItem(item(relation.from, relation.type, relation.to));
    if (outcome.isDone())
        call.output().print(what + QStringLiteral(": ") + sentence(relation));
    return outcome;
}

Outcome relate(Invocation& call)
{
    Relation relation;
    const Outcome outcome = prepare(call, relation);
    if (!outcome.isDone())
        return outcome;
    const QString error = relationTypeError(relation.type, call.session().relationTypes());
    if (!error.isEmpty())
        return Outcome::refused(error);
    if (relation.from == relation.to)
        return Outcome::refused(
            QStringLiteral("%1 cannot be related to itself").arg(quoted(relation.from)));
    if (relation.exists)
        return Outcome::refused(QStringLiteral("there is a %1 already").arg(sentence(relation)));
    call.database().addNodeRelation(relation.from, relation.to, relation.type);
    return finish(call, relation, QStringLiteral("added"));
}

Outcome unrelate(Invocation& call)
{
    Relation relation;
    const Outcome outcome = prepare(call, relation);
    if (!outcome.isDone())
        return outcome;
    if (!relation.exists)
        return Outcome::refused(QStringLiteral("there is no %1").arg(sentence(relation)));
    call.database().removeNodeRelation(relation.from, relation.to, relation.type);
    return finish(call, relation, QStringLiteral("removed"));
}

Outcome relations(Invocation& call)
{
    const QString id = call.arguments().first();
    Outcome outcome = call.open(OpenMode::ReadOnly);
    if (outcome.isDone())
        outcome = call.requireNode(id);
    if (!outcome.isDone())
        return outcome;
    QList<QJsonObject> items;
    for (const ENodeRelationType type : call.session().relationTypes()) {
        QStringList destinations = call.database().relatedNodes(id, type);
        QStringList sources = call.database().relatedSources(id, type);
        sources.removeAll(id); // listed among the destinations
        destinations.sort();
        sources.sort();
        for (const QString& to : destinations)
            items.append(item(id, type, to));
        for (const QString& from : sources)
            items.append(item(from, type, id));
    }
    call.output().addItems(items,
        { { QStringLiteral("FROM"), QStringLiteral("NodeFrom") },
            { QStringLiteral("TYPE"), QStringLiteral("RelationType") },
            { QStringLiteral("TO"), QStringLiteral("NodeTo") } });
    return outcome;
}

} // namespace

QList<Command> relationCommands()
{
    const QString triple = QStringLiteral("FROM TYPE TO");
    return { { QStringLiteral("relate"), triple, QStringLiteral("Add a relation between nodes."), 3,
                 3, {}, relate },
        { QStringLiteral("unrelate"), triple, QStringLiteral("Remove a relation."), 3, 3, {},
            unrelate },
        { QStringLiteral("relations"), QStringLiteral("ID"),
            QStringLiteral("List the relations of a node."), 1, 1, {}, relations } };
}

} // namespace tq::cli
