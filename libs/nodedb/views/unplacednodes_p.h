// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/nodeview.h"

#include <QHash>
#include <QPointer>

namespace tq {

class NodeDB;

/**
 * The nodes that stand nowhere below a root, as a view of its own that follows database, relations
 * and views. Recording folders of devices (destinations of relations of type 1) are not among them.
 *
 * It remembers of each view below the root what stands in it, so that a change costs what changed:
 * it never goes through all nodes again.
 */
class UnplacedNodes : public QObject
{
public:
    UnplacedNodes(NodeDB& database, const tqm::smart<NodeView>& root);

    /** Returns the view that holds them, ids ascending. Nobody else may change it. */
    tqm::smart<NodeView> view() const { return m_view; }

private:
    /** A view that stands below the root. */
    struct Followed
    {
        int places = 0; ///< in how many views that are followed
        QHash<QString, NodeView::Entry> entries; ///< what is known to stand in it, by id
    };

    void followDatabase(NodeDB& db);
    void follow(NodeView& view);
    void noteInserted(NodeView& view, int index);
    void noteRemoved(NodeView& view, const QString& id);
    void compare(NodeView& view);
    void count(const NodeView::Entry& entry);
    void discount(const NodeView::Entry& entry);
    void doubt(const NodeID& id);
    void settle();
    void settle(const NodeID& id);
    int indexOf(const NodeID& id) const;
    bool isUnplaced(const NodeID& id) const;

    QPointer<NodeDB> m_database;
    tqm::smart<NodeView> m_root;
    tqm::smart<NodeView> m_view;
    QHash<const NodeView*, Followed> m_followed;
    QHash<NodeID, int> m_places; ///< in how many followed views each node stands
    QList<NodeID> m_doubtful; ///< nodes that settle() is to look at
};

} // namespace tq
