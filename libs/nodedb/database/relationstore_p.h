// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "database/registrylock_p.h"
#include "nodestore/nodetypes.h"

#include "platform/testexport.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QStringList>

#include <tuple>

namespace tq {

/** One directed relation. Ordered by source, type and destination. */
struct NodeRelation
{
    QString from;
    ENodeRelationType type;
    QString to;

    bool operator<(const NodeRelation& other) const
    {
        return std::tie(from, type, to) < std::tie(other.from, other.type, other.to);
    }
};

/** The relations between nodes, guarded by the registry's lock. The nodes need not exist. */
class TQ_TEST_EXPORT RelationStore
{
public:
    using Reading = RegistryLock::Reading;
    using Writing = RegistryLock::Writing;

    bool contains(const Reading&, const NodeRelation& relation) const;

    /** Returns whether `from` has any relation of that type. */
    bool hasAny(const Reading&, const QString& from, ENodeRelationType type) const;

    /** Adds the relation unless it is there. */
    void add(const Writing&, const NodeRelation& relation);

    /** Erases the relation and returns how many there were: 1, or 0. */
    int erase(const Writing&, const NodeRelation& relation);

    QStringList destinations(const Reading&, const QString& from, ENodeRelationType type) const;
    QStringList sources(const Reading&, const QString& to, ENodeRelationType type) const;
    bool isDestination(const Reading&, const QString& id, ENodeRelationType type) const;

    /** Returns the relations that `id` takes part in, at either end. */
    QList<NodeRelation> takingPart(const Reading&, const QString& id) const;

    /** Returns all relations, in their order. */
    QList<NodeRelation> all(const Reading&) const;

private:
    /** By the id at one end and the type: the ids at the other end. Nothing in it is empty. */
    using Index = QHash<QString, QHash<ENodeRelationType, QSet<QString>>>;

    static QSet<QString> ends(const Index& index, const QString& id, ENodeRelationType type);
    static void erase(Index& index, const QString& id, ENodeRelationType type, const QString& end);

    Index m_destinations; ///< by source
    Index m_sources; ///< the same relations by destination
};

} // namespace tq
