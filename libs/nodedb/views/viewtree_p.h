// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/nodeview.h"

#include <QHash>

#include <memory>
#include <vector>

namespace tq {

/** One row of a model of views: an entry at one of the places where a tree shows it. */
struct ViewItem
{
    ViewItem* parent = nullptr; ///< null for the root
    int row = 0;
    NodeView::Entry entry;
    NodeView* view = nullptr; ///< the entry, when it is a view
    QString name; ///< as it is shown, for which see NodeViewModelPrivate::refresh()
    bool isRead = false; ///< whether `children` stand for the view's entries
    std::vector<std::unique_ptr<ViewItem>> children;

    int childCount() const { return int(children.size()); }
    ViewItem& child(int index) const { return *children[size_t(index)]; }
};

/**
 * The rows of a model of views: a copy of the shape of the views, as far as somebody asked for it.
 *
 * A view's entries are read when its rows are first asked for, so a graph of views that would make
 * a giant tree costs what of it is looked at. The tree follows nothing by itself.
 */
class ViewTree
{
public:
    explicit ViewTree(const tqm::smart<NodeView>& root);
    Q_DISABLE_COPY_MOVE(ViewTree)

    ViewItem& root() { return m_root; }

    /** Returns the items that stand for the node or view with this id. */
    QList<ViewItem*> itemsOf(const QString& id) const { return m_items.values(id); }

    /** Makes children for entries, the first one in the given row; returns the views that no item
     * stood for until now. */
    QList<tqm::smart<NodeView>> insert(
        ViewItem& parent, int row, const QList<NodeView::Entry>& entries);

    /** Removes children with all that is below; returns the views that no item stands for now. */
    QList<tqm::smart<NodeView>> remove(ViewItem& parent, int row, int count);

    /** Moves a child to where it is in row `to` afterwards. */
    void move(ViewItem& parent, int from, int to);

private:
    static void renumber(ViewItem& parent, int from, int to);

    ViewItem m_root;
    QMultiHash<QString, ViewItem*> m_items;
    QHash<const NodeView*, int> m_places; ///< how many items each view has
};

} // namespace tq
