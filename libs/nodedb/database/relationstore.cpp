// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/relationstore_p.h"

#include <algorithm>

namespace tq {

bool RelationStore::contains(const Reading&, const NodeRelation& relation) const
{
    return m_destinations.contains(Key(relation.from, relation.type), relation.to);
}

bool RelationStore::hasAny(const Reading&, const QString& from, ENodeRelationType type) const
{
    return m_destinations.contains(Key(from, type));
}

void RelationStore::add(const Writing& guard, const NodeRelation& relation)
{
    if (contains(guard, relation))
        return;
    m_destinations.insert(Key(relation.from, relation.type), relation.to);
    m_sources.insert(Key(relation.to, relation.type), relation.from);
    ++m_counts[relation.type];
}

int RelationStore::erase(const Writing&, const NodeRelation& relation)
{
    const auto erased = m_destinations.remove(Key(relation.from, relation.type), relation.to);
    m_sources.remove(Key(relation.to, relation.type), relation.from);
    if (erased > 0 && (m_counts[relation.type] -= int(erased)) == 0)
        m_counts.remove(relation.type);
    return int(erased);
}

QStringList RelationStore::destinations(
    const Reading&, const QString& from, ENodeRelationType type) const
{
    return m_destinations.values(Key(from, type));
}

QStringList RelationStore::sources(const Reading&, const QString& to, ENodeRelationType type) const
{
    return m_sources.values(Key(to, type));
}

bool RelationStore::isDestination(const Reading&, const QString& id, ENodeRelationType type) const
{
    return m_sources.contains(Key(id, type));
}

QList<NodeRelation> RelationStore::takingPart(const Reading& guard, const QString& id) const
{
    QList<NodeRelation> result;
    for (auto it = m_counts.cbegin(); it != m_counts.cend(); ++it) {
        const ENodeRelationType type = it.key();
        for (const QString& to : destinations(guard, id, type))
            result.append({ id, type, to });
        for (const QString& from : sources(guard, id, type)) {
            if (from != id) // is among the destinations
                result.append({ from, type, id });
        }
    }
    return result;
}

QList<NodeRelation> RelationStore::all(const Reading&) const
{
    QList<NodeRelation> result;
    for (auto it = m_destinations.cbegin(); it != m_destinations.cend(); ++it)
        result.append({ it.key().first, it.key().second, it.value() });
    std::sort(result.begin(), result.end());
    return result;
}

} // namespace tq
