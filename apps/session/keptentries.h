// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istoretree.h"

#include <QList>
#include <QString>

namespace tq {

class IStore;
class NodeDB;

/**
 * What a store holds but the database could not load, because no driver makes such nodes: the raw
 * entries, and the relations they take part in.
 */
class KeptEntries
{
public:
    /**
     * Reads what `database` did not take from `store`, which it was just loaded from. Returns false
     * when the store announces entries by the thousand that are not there: nobody wrote that.
     */
    [[nodiscard]] bool collect(IStore& store, const NodeDB& database);

    /** Returns what is still to be kept: nodes that came back meanwhile and relations that were
     * removed are not. */
    KeptEntries remaining(const NodeDB& database) const;

    /** Adds everything to the nodes and relations that were just written into `store`. */
    void append(IStore& store) const;

    qsizetype nodeCount() const { return m_nodes.size(); }

private:
    struct KeptNode
    {
        QString id;
        StoreNode entry;
    };

    struct KeptRelation
    {
        QString from;
        QString to;
        int type = 0;
    };

    bool isKept(const QString& id) const;
    bool collectRelations(IStore& store);

    QList<KeptNode> m_nodes;
    QList<KeptRelation> m_relations;
};

} // namespace tq
