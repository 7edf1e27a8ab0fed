// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istoretree.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

namespace tq {

class IStore;
class NodeDB;

/**
 * What a store holds and a save of the database would drop: the raw entries, and the relations they
 * take part in.
 *
 * There are two kinds. No driver could load the one. The other is in the database, but its entry
 * says neither yes nor no about whether it should be stored, and the database takes that for no.
 */
class KeptEntries
{
public:
    /**
     * Reads what `database` did not take from `store`, which it was just loaded from. Returns false
     * when the store announces entries by the thousand that are not there: nobody wrote that.
     */
    [[nodiscard]] bool collect(IStore& store, const NodeDB& database);

    /** Returns what is still to be kept: relations that were removed are not, nor nodes that came
     * back meanwhile or, where the entry was undecided, were removed or write themselves. */
    KeptEntries remaining(const NodeDB& database) const;

    /** Adds everything to the nodes and relations that were just written into `store`. */
    void append(IStore& store) const;

    /** Returns how many nodes no driver could load. */
    qsizetype lostCount() const;

    /** Returns the ids of the nodes whose entries say neither yes nor no. */
    QStringList undecided() const;

private:
    struct KeptNode
    {
        QString id;
        StoreNode entry;
        bool isUndecided = false; ///< and in the database
    };

    struct KeptRelation
    {
        QString from;
        QString to;
        int type = 0;
    };

    static bool isNeeded(const KeptNode& node, const NodeDB& database);
    void add(const KeptNode& node);
    bool collectRelations(IStore& store);

    QList<KeptNode> m_nodes;
    QSet<QString> m_ids; ///< of m_nodes
    QList<KeptRelation> m_relations;
};

} // namespace tq
