// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"
#include "views/viewroles.h"

#include "platform/smart.h"

#include <QAbstractItemModel>

#include <memory>

namespace tq {

class NodeDB;
class NodeView;
class NodeViewModelPrivate;

/**
 * A tree of one view, its nodes and the views in it, with one column.
 *
 * It follows the views and the database by single rows and never resets; what a slot of its signals
 * changes is told after what it is telling. Rows are read when they are asked for. A view that
 * stands in several views has rows in each. Nodes show their name and icon, those that the database
 * does not know their id, in italics; views can be renamed. Other roles: EViewRole. Belongs to the
 * database's thread, and may outlive the database.
 *
 * On request one more row at the end of the top, "Not in a view", has the nodes of the database
 * that stand nowhere below the root, ids ascending, without the recording folders of devices; it is
 * there while there are any. They can be dragged into views; the row itself neither moves nor takes
 * drops.
 *
 * Dragging gives "application/view-id" and "application/source-id": the ids of the views and of the
 * nodes, UTF-8, one per line; ids with line feeds are left out there. A drop moves or copies what
 * was dragged from any model of this process, all of it at once; from elsewhere it copies nodes
 * that the database knows and views that stand in this tree. To copy a view is to let it stand in
 * one view more. The drop does all of the move, so the dragging side must not remove rows, which
 * this model does not offer.
 */
class NODEDB_EXPORT NodeViewModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    /** `root` must not be null; its entries are the rows at the top. */
    NodeViewModel(NodeDB& database, const tqm::smart<NodeView>& root, QObject* parent = nullptr);
    ~NodeViewModel() override;
    Q_DISABLE_COPY_MOVE(NodeViewModel)

    /** Returns the database that the rows tell of; null when it is gone. */
    NodeDB* database() const;

    /** Shows the row "Not in a view", unless the database is gone; not shown from the start. */
    void setShowsUnplacedNodes(bool shows);
    bool showsUnplacedNodes() const;

    /** Returns the view that `index` stands for, the root for an invalid one; null for a node and
     * for the row "Not in a view". */
    tqm::smart<NodeView> viewAt(const QModelIndex& index) const;

    /** Returns the rows that stand for the node or view with this id, as far as they were read; in
     * no particular order. */
    QModelIndexList indexesOf(const QString& id) const;

    /** Emits dataChanged() for these rows: what is shown of them depends on something outside. From
     * inside of a signal of this model it does so a little later. */
    void touch(const QString& id, const QList<int>& roles = {});

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;

    /** Tells of a view without reading its rows. */
    bool hasChildren(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    /** Gives a view the trimmed text as its name (Qt::EditRole); refuses a text of blanks. */
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QHash<int, QByteArray> roleNames() const override;

    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;

    /** Returns null when `indexes` has no row. What lies in a dragged view comes with it. */
    QMimeData* mimeData(const QModelIndexList& indexes) const override;

    /**
     * Returns whether dropMimeData() would take it. That is refused as a whole when anything of it
     * must not stand there; what is gone, and what a copy would put where it stands already, is
     * passed over, unless nothing is left. A move onto its own place is taken and changes nothing.
     */
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
        const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
        const QModelIndex& parent) override;

private:
    friend class NodeViewModelPrivate;
    friend class NodeViewProxyModel; // asks for silence while it tells of itself

    std::unique_ptr<NodeViewModelPrivate> d;
};

} // namespace tq
