// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodedb.h"
#include "views/nodeviewmodel.h"
#include "views/viewmimedata_p.h"
#include "views/viewtree_p.h"

#include <QIcon>
#include <QPointer>

namespace tq {

/** The rows of a model of views, and how they follow views and database. */
class NodeViewModelPrivate
{
public:
    NodeViewModelPrivate(NodeViewModel& model, NodeDB& database, const tqm::smart<NodeView>& root);

    /** Returns the item of a row, the root's for an invalid index. */
    ViewItem& itemAt(const QModelIndex& index);
    QModelIndex indexOf(const ViewItem& item) const;
    QList<ViewItem*> itemsOf(const QString& id) const { return m_tree.itemsOf(id); }

    /** Makes the children of a view's item, unless they are there. */
    void read(ViewItem& item);

    /** Returns what of `dragged` a drop into `target` would add or move there; nothing when
     * something of it must not stand there. */
    static QList<DraggedEntry> droppable(
        const QList<DraggedEntry>& dragged, const NodeView& target, Qt::DropAction action);

    NodeViewModel& q;
    QPointer<NodeDB> database;
    tqm::smart<NodeView> rootView;
    QIcon folderIcon{ QStringLiteral(":/icons/folder_16.png") };

private:
    void followDatabase(NodeDB& db);
    void followView(NodeView& view);
    void addItems(ViewItem& item, int row, const QList<NodeView::Entry>& entries);
    void viewChanged(const NodeViewID& id);
    void update(ViewItem& item);
    void removeAbsent(ViewItem& item, const QList<NodeView::Entry>& entries);
    void arrange(ViewItem& item, const QList<NodeView::Entry>& entries);
    int insertFrom(ViewItem& item, int row, const QList<NodeView::Entry>& entries);
    void insertRows(ViewItem& item, int row, const QList<NodeView::Entry>& entries);
    void removeRows(ViewItem& item, int row, int count);
    void moveRow(ViewItem& item, int from, int to);

    ViewTree m_tree;
    QStringList m_stale; ///< views whose rows are yet to be brought up to date
    bool m_isUpdating = false;
};

} // namespace tq
