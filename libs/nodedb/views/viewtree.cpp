// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/viewtree_p.h"

#include <algorithm>
#include <iterator>

namespace tq {

ViewTree::ViewTree(const tqm::smart<NodeView>& root)
{
    m_root.entry = root;
    m_root.view = root.get();
    m_items.insert(root->id(), &m_root);
    m_places.insert(root.get(), 1);
}

QList<tqm::smart<NodeView>> ViewTree::insert(
    ViewItem& parent, int row, const QList<NodeView::Entry>& entries)
{
    QList<tqm::smart<NodeView>> added;
    std::vector<std::unique_ptr<ViewItem>> items;
    items.reserve(size_t(entries.size()));
    for (const NodeView::Entry& entry : entries) {
        auto item = std::make_unique<ViewItem>();
        item->parent = &parent;
        item->entry = entry;
        item->view = tqm::smart<NodeView>(entry).get();
        m_items.insert(entry->id(), item.get());
        if (item->view && ++m_places[item->view] == 1)
            added.append(entry);
        items.push_back(std::move(item));
    }
    parent.children.insert(parent.children.begin() + row, std::make_move_iterator(items.begin()),
        std::make_move_iterator(items.end()));
    renumber(parent, row, parent.childCount());
    return added;
}

QList<tqm::smart<NodeView>> ViewTree::remove(ViewItem& parent, int row, int count)
{
    const auto begin = parent.children.begin() + row;
    std::vector<std::unique_ptr<ViewItem>> leaving(
        std::make_move_iterator(begin), std::make_move_iterator(begin + count));
    parent.children.erase(begin, begin + count);
    renumber(parent, row, parent.childCount());
    QList<tqm::smart<NodeView>> gone;
    // Item by item, the children of each joining those that wait.
    while (!leaving.empty()) {
        const std::unique_ptr<ViewItem> item = std::move(leaving.back());
        leaving.pop_back();
        m_items.remove(item->entry->id(), item.get());
        if (item->view && --m_places[item->view] == 0) {
            m_places.remove(item->view);
            gone.append(item->entry);
        }
        std::move(item->children.begin(), item->children.end(), std::back_inserter(leaving));
    }
    return gone;
}

void ViewTree::move(ViewItem& parent, int from, int to)
{
    const auto begin = parent.children.begin();
    if (from < to)
        std::rotate(begin + from, begin + from + 1, begin + to + 1);
    else
        std::rotate(begin + to, begin + from, begin + from + 1);
    renumber(parent, std::min(from, to), std::max(from, to) + 1);
}

void ViewTree::renumber(ViewItem& parent, int from, int to)
{
    for (int row = from; row < to; ++row)
        parent.child(row).row = row;
}

} // namespace tq
