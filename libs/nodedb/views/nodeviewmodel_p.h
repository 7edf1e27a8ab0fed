// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodedb.h"
#include "views/nodeviewmodel.h"
#include "views/unplacednodes_p.h"
#include "views/viewmimedata_p.h"
#include "views/viewtree_p.h"

#include <QIcon>
#include <QPointer>
#include <QSet>

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

    /**
     * Has the item show the name that its node or view has now; dataChanged() must follow. Names
     * are kept, since a sorted model puts rows into wrong places when others have changed behind
     * its back, and what changes a name is heard of later than it can be read.
     */
    void refresh(ViewItem& item) const;

    /** Returns what of `dragged` a drop into `target` would add or move there; nothing when
     * something of it must not stand there. */
    static QList<DraggedEntry> droppable(
        const QList<DraggedEntry>& dragged, const NodeView& target, Qt::DropAction action);

    /**
     * Emits dataChanged() for the rows of this node or view, or does so when the model is done with
     * what it is telling.
     */
    void touch(const QString& id, const QList<int>& roles);

    /** Adds the row of nodes that stand nowhere below the root, while there are any, or takes it
     * away. */
    void showUnplacedNodes(bool isShown);

    /** Returns the view that this row stands for; null while it is switched off. */
    tqm::smart<NodeView> unplacedNodes() const;
    bool isUnplaced(const ViewItem& item) const;

    bool isTelling() const { return m_silences > 0; }

    /** While it lives the model tells nothing: what is told now must not change. */
    class Silence
    {
    public:
        explicit Silence(NodeViewModelPrivate& model) : m_model(model) { ++m_model.m_silences; }
        ~Silence()
        {
            if (--m_model.m_silences == 0)
                m_model.tell();
        }
        Q_DISABLE_COPY_MOVE(Silence)

    private:
        NodeViewModelPrivate& m_model;
    };

    NodeViewModel& q;
    QPointer<NodeDB> database;
    tqm::smart<NodeView> rootView;
    QIcon folderIcon{ QStringLiteral(":/icons/folder_16.png") };

private:
    void followDatabase(NodeDB& db);
    void followView(NodeView& view);
    QList<NodeView::Entry> entriesOf(const ViewItem& item) const;
    void addItems(ViewItem& item, int row, const QList<NodeView::Entry>& entries);
    /** A change that the rows are still to show. */
    struct Change
    {
        enum class EKind { eInserted, eRemoved, eSomething, eData };

        QString id; ///< of the view whose entries changed; with eData of the view or node
        EKind kind;
        int index = -1; ///< of eInserted and eRemoved
        QString entry = {}; ///< the id of an entry that was removed
        QList<int> roles = {}; ///< of eData
    };

    void change(const Change& change);
    void tell();
    void tellData(const Change& change);
    void tellRows(const Change& change);
    void tellEmpty(ViewItem& item, const QString& entry);
    void update(ViewItem& item, const Change& change);
    void compare(ViewItem& item, const QList<NodeView::Entry>& entries);
    void removeAbsent(ViewItem& item, const QList<NodeView::Entry>& entries);
    void arrange(ViewItem& item, const QList<NodeView::Entry>& entries);
    int insertFrom(ViewItem& item, int row, const QList<NodeView::Entry>& entries);
    void insertRows(ViewItem& item, int row, const QList<NodeView::Entry>& entries);
    void removeRows(ViewItem& item, int row, int count);
    void moveRow(ViewItem& item, int from, int to);

    ViewTree m_tree;
    std::unique_ptr<UnplacedNodes> m_unplaced; ///< null while they are not shown
    QList<Change> m_changes; ///< in their order
    int m_silences = 0;
};

} // namespace tq
