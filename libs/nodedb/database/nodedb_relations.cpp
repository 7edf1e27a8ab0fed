// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/nodedb_p.h"

#include <QPointer>

namespace tq {

void NodeDB::addNodeRelation(const QString& from, const QString& to, ENodeRelationType type)
{
    const NodeRelation relation{ from, type, to };
    {
        const auto guard = d->lock.write("addNodeRelation");
        if (!guard || d->relations.contains(*guard, relation))
            return;
    }
    const QPointer<NodeDB> alive(this);
    emit nodeRelationAboutToBeAdded(relation.from, relation.to, relation.type);
    if (!alive)
        return;
    {
        const auto guard = d->lock.write("addNodeRelation");
        if (!guard)
            return;
        d->relations.add(*guard, relation);
        d->modified = true;
    }
    emit nodeRelationAdded(relation.from, relation.to, relation.type);
}

void NodeDB::removeNodeRelation(const QString& from, const QString& to, ENodeRelationType type)
{
    const NodeRelation relation{ from, type, to };
    {
        const auto guard = d->lock.write("removeNodeRelation");
        if (!guard || !d->relations.hasAny(*guard, from, type))
            return;
    }
    const QPointer<NodeDB> alive(this);
    emit nodeRelationAboutToBeRemoved(relation.from, relation.to, relation.type);
    if (!alive)
        return;
    {
        const auto guard = d->lock.write("removeNodeRelation");
        if (!guard)
            return;
        // kept: only exactly one erased entry counts as a modification
        if (d->relations.erase(*guard, relation) == 1)
            d->modified = true;
    }
    emit nodeRelationRemoved(relation.from, relation.to, relation.type);
}

void NodeDB::removeAllNodeRelations(const QString& id)
{
    if (d->lock.refusesChange("removeAllNodeRelations"))
        return;
    const QPointer<NodeDB> alive(this);
    const QList<NodeRelation> relations = d->relations.takingPart(d->lock.read(), id);
    for (const NodeRelation& relation : relations) {
        if (!d->relations.contains(d->lock.read(), relation))
            continue; // a slot or another thread has removed and announced it
        emit nodeRelationAboutToBeRemoved(relation.from, relation.to, relation.type);
        if (!alive)
            return;
        {
            const auto guard = d->lock.write("removeAllNodeRelations");
            if (!guard)
                return;
            if (d->relations.erase(*guard, relation) == 1)
                d->modified = true;
        }
        emit nodeRelationRemoved(relation.from, relation.to, relation.type);
        if (!alive)
            return;
    }
}

QStringList NodeDB::relatedNodes(const QString& from, ENodeRelationType type) const
{
    return d->relations.destinations(d->lock.read(), from, type);
}

QStringList NodeDB::relatedSources(const QString& to, ENodeRelationType type) const
{
    return d->relations.sources(d->lock.read(), to, type);
}

bool NodeDB::isDestinationOfNodeRelation(const QString& id, ENodeRelationType type) const
{
    return d->relations.isDestination(d->lock.read(), id, type);
}

} // namespace tq
