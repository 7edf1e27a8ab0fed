// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include "platform/smart.h"

#include <QList>
#include <QMultiHash>
#include <QObject>
#include <QPointer>

#include <optional>

namespace tq {

class IPersistDestination;
class NodeDB;
class NodeView;

/**
 * The views that a person arranged: one nameless view, the root, whose entries stand at the top.
 *
 * A node that is removed from the database leaves every view; ids of nodes that the database never
 * knew stay, since their drivers may be back tomorrow. Belongs to the database's thread, and may
 * outlive the database.
 */
class NODEDB_EXPORT NodeViews : public QObject
{
    Q_OBJECT

public:
    explicit NodeViews(NodeDB& database);
    ~NodeViews() override;
    Q_DISABLE_COPY_MOVE(NodeViews)

    /** Returns the root; the same for the life of this object. It is never stored itself. */
    tqm::smart<NodeView> root() const;

    /** Returns every view below the root, each once, from the top down as a tree shows them. */
    QList<tqm::smart<NodeView>> all() const;

    /** Returns the view with this id that stands somewhere below the root; else a null handle. */
    tqm::smart<NodeView> view(const NodeViewID& id) const;

    /** Returns whether the view or node with this id stands anywhere below the root. */
    bool holds(const QString& id) const;

    /** Removes the view or node with this id from wherever it stands. Returns from how many views.
     * What stood only in a removed view goes with it. */
    int removeEverywhere(const QString& id);

    /** Writes everything into the group "NodeViews", which is removed first. Does not sync. */
    void save(IPersistDestination* target) const;

    /**
     * Replaces what is there by what the group "NodeViews" holds. What of it cannot be had is left
     * out, each with a level 2 line; a source that throws anything ends the reading, likewise. The
     * root announces each entry that goes or comes, so that models follow; changed() is emitted
     * once, when all is done, even if nothing was there and nothing came.
     */
    void load(IPersistDestination* source);

signals:
    /** Something that save() writes changed, once for each change, or load() is done. */
    void changed();

private:
    using Holders = QMultiHash<QString, NodeView*>;

    void followContents();
    void dropNode(const NodeID& id);
    const Holders& holders() const;

    QPointer<NodeDB> m_database;
    tqm::smart<NodeView> m_root;
    mutable std::optional<Holders>
        m_holders; ///< the views that each entry stands in, while they are known
    int m_changes = 0;
    int m_loads = 0; ///< that are under way
    QString m_rootName; ///< as it was last seen: nothing that is saved
};

} // namespace tq
