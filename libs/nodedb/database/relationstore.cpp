// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/relationstore_p.h"

#include <algorithm>

namespace tq {

bool RelationStore::contains(const Reading&, const NodeRelation& relation) const
{
    return ends(m_destinations, relation.from, relation.type).contains(relation.to);
}

bool RelationStore::hasAny(const Reading&, const QString& from, ENodeRelationType type) const
{
    return !ends(m_destinations, from, type).isEmpty();
}

void RelationStore::add(const Writing&, const NodeRelation& relation)
{
    m_destinations[relation.from][relation.type].insert(relation.to);
    m_sources[relation.to][relation.type].insert(relation.from);
}

int RelationStore::erase(const Writing& guard, const NodeRelation& relation)
{
    if (!contains(guard, relation))
        return 0;
    erase(m_destinations, relation.from, relation.type, relation.to);
    erase(m_sources, relation.to, relation.type, relation.from);
    return 1;
}

void RelationStore::erase(
    Index& index, const QString& id, ENodeRelationType type, const QString& end)
{
    const auto byType = index.find(id);
    const auto ends = byType->find(type);
    ends->remove(end);
    if (ends->isEmpty())
        byType->erase(ends);
    if (byType->isEmpty())
        index.erase(byType);
}

QSet<QString> RelationStore::ends(const Index& index, const QString& id, ENodeRelationType type)
{
    const auto byType = index.constFind(id);
    return byType == index.cend() ? QSet<QString>() : byType->value(type);
}

QStringList RelationStore::destinations(
    const Reading&, const QString& from, ENodeRelationType type) const
{
    return ends(m_destinations, from, type).values();
}

QStringList RelationStore::sources(const Reading&, const QString& to, ENodeRelationType type) const
{
    return ends(m_sources, to, type).values();
}

bool RelationStore::isDestination(const Reading&, const QString& id, ENodeRelationType type) const
{
    return !ends(m_sources, id, type).isEmpty();
}

QList<NodeRelation> RelationStore::takingPart(const Reading&, const QString& id) const
{
    QList<NodeRelation> result;
    const auto to = m_destinations.value(id);
    for (auto type = to.cbegin(); type != to.cend(); ++type) {
        for (const QString& destination : type.value())
            result.append({ id, type.key(), destination });
    }
    const auto from = m_sources.value(id);
    for (auto type = from.cbegin(); type != from.cend(); ++type) {
        for (const QString& source : type.value()) {
            if (source != id) // is among the destinations
                result.append({ source, type.key(), id });
        }
    }
    return result;
}

QList<NodeRelation> RelationStore::all(const Reading&) const
{
    QList<NodeRelation> result;
    for (auto from = m_destinations.cbegin(); from != m_destinations.cend(); ++from) {
        for (auto type = from->cbegin(); type != from->cend(); ++type) {
            for (const QString& to : type.value())
                result.append({ from.key(), type.key(), to });
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

} // namespace tq
