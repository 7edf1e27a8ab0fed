// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/relationstore_p.h"

#include <algorithm>

namespace tq {

bool RelationStore::contains(const Reading&, const NodeRelation& relation) const
{
    return m_relations.contains(Key(relation.from, relation.type), relation.to);
}

bool RelationStore::hasAny(const Reading&, const QString& from, ENodeRelationType type) const
{
    return m_relations.contains(Key(from, type));
}

void RelationStore::add(const Writing& guard, const NodeRelation& relation)
{
    if (!contains(guard, relation))
        m_relations.insert(Key(relation.from, relation.type), relation.to);
}

int RelationStore::erase(const Writing&, const NodeRelation& relation)
{
    return int(m_relations.remove(Key(relation.from, relation.type), relation.to));
}

QStringList RelationStore::destinations(
    const Reading&, const QString& from, ENodeRelationType type) const
{
    return m_relations.values(Key(from, type));
}

template <class Predicate>
QList<NodeRelation> RelationStore::select(Predicate predicate) const
{
    QList<NodeRelation> result;
    for (auto it = m_relations.cbegin(); it != m_relations.cend(); ++it) {
        const NodeRelation relation{ it.key().first, it.key().second, it.value() };
        if (predicate(relation))
            result.append(relation);
    }
    return result;
}

QStringList RelationStore::sources(const Reading&, const QString& to, ENodeRelationType type) const
{
    QStringList result;
    for (const NodeRelation& relation :
        select([&](const NodeRelation& r) { return r.type == type && r.to == to; }))
        result.append(relation.from);
    return result;
}

bool RelationStore::isDestination(
    const Reading& guard, const QString& id, ENodeRelationType type) const
{
    return !sources(guard, id, type).isEmpty();
}

QList<NodeRelation> RelationStore::takingPart(const Reading&, const QString& id) const
{
    return select([&](const NodeRelation& r) { return r.from == id || r.to == id; });
}

QList<NodeRelation> RelationStore::all(const Reading&) const
{
    auto result = select([](const NodeRelation&) { return true; });
    std::sort(result.begin(), result.end());
    return result;
}

} // namespace tq
