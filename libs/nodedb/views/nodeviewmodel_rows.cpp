// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// How the rows follow. Changes are told one after the other: what is changed inside of a signal of
// the model is told after it. A single change is told as it is; where more has changed meanwhile,
// the entries of the view are compared with the rows that stand for them.
#include "views/nodedata_p.h"
#include "views/nodeentry.h"
#include "views/nodeviewmodel_p.h"

#include <algorithm>

namespace tq {

namespace {

/** Returns whether the row stands for the entry. */
bool shows(const ViewItem& item, const NodeView::Entry& entry)
{
    return item.entry == entry;
}

QSet<const NodeViewEntry*> addresses(const QList<NodeView::Entry>& entries)
{
    QSet<const NodeViewEntry*> result;
    result.reserve(entries.size());
    for (const NodeView::Entry& entry : entries)
        result.insert(entry.get());
    return result;
}

} // namespace

NodeViewModelPrivate::NodeViewModelPrivate(
    NodeViewModel& model, NodeDB& db, const tqm::smart<NodeView>& root)
    : q(model), database(&db), rootView(root), m_tree(root)
{
    followDatabase(db);
    followView(*root);
}

void NodeViewModelPrivate::followDatabase(NodeDB& db)
{
    for (const auto signal : { &NodeDB::nodeInserted, &NodeDB::nodeUpdated, &NodeDB::nodeRemoved,
             &NodeDB::connectionDataChanged })
        QObject::connect(&db, signal, &q, [this](const NodeID& id) { q.touch(id); });
    for (const auto signal : { &NodeDB::nodeRelationAdded, &NodeDB::nodeRelationRemoved })
        QObject::connect(
            &db, signal, &q, [this](const NodeID&, const NodeID& to, ENodeRelationType type) {
                if (type == eDeviceToRecordingFolder)
                    q.touch(to, { eIsRelationDestinationRole });
            });
}

void NodeViewModelPrivate::followView(NodeView& view)
{
    using EKind = Change::EKind;
    QObject::connect(&view, &NodeView::renamed, &q, [this](const NodeViewID& id) { q.touch(id); });
    QObject::connect(&view, &NodeView::entryInserted, &q, [this](const NodeViewID& id, int index) {
        change({ id, EKind::eInserted, index });
    });
    QObject::connect(&view, &NodeView::entryRemoved, &q,
        [this](const NodeViewID& id, int index, const QString& entry) {
            change({ id, EKind::eRemoved, index, entry });
        });
    QObject::connect(&view, &NodeView::entryMoved, &q, [this](const NodeViewID& id) {
        change({ id, EKind::eSomething });
    });
}

void NodeViewModelPrivate::showUnplacedNodes(bool isShown)
{
    if (isShown == bool(m_unplaced) || (isShown && !database))
        return;
    read(m_tree.root()); // what is read is told of
    m_unplaced = isShown ? std::make_unique<UnplacedNodes>(*database, rootView) : nullptr;
    const Change row{ rootView->id(), Change::EKind::eSomething };
    if (isShown) {
        // Not with the model as the receiver, which follows the view only while it has a row.
        const auto showOrHide = [this, row] {
            const tqm::smart<NodeView> view = unplacedNodes();
            if ((view->count() > 0) == m_tree.itemsOf(view->id()).isEmpty())
                change(row);
        };
        NodeView* const view = unplacedNodes().get();
        QObject::connect(view, &NodeView::entryInserted, m_unplaced.get(), showOrHide);
        QObject::connect(view, &NodeView::entryRemoved, m_unplaced.get(), showOrHide);
    }
    change(row);
}

tqm::smart<NodeView> NodeViewModelPrivate::unplacedNodes() const
{
    return m_unplaced ? m_unplaced->view() : nullptr;
}

bool NodeViewModelPrivate::isUnplaced(const ViewItem& item) const
{
    return m_unplaced && item.view == m_unplaced->view().get();
}

/** Returns what the rows in the item's view stand for. */
QList<NodeView::Entry> NodeViewModelPrivate::entriesOf(const ViewItem& item) const
{
    QList<NodeView::Entry> entries = item.view->entries();
    if (!item.parent && m_unplaced && m_unplaced->view()->count() > 0)
        entries.append(m_unplaced->view());
    return entries;
}

ViewItem& NodeViewModelPrivate::itemAt(const QModelIndex& index)
{
    return index.isValid() ? *static_cast<ViewItem*>(index.internalPointer()) : m_tree.root();
}

QModelIndex NodeViewModelPrivate::indexOf(const ViewItem& item) const
{
    return item.parent ? q.createIndex(item.row, 0, &item) : QModelIndex();
}

void NodeViewModelPrivate::read(ViewItem& item)
{
    if (!item.view || item.isRead)
        return;
    item.isRead = true;
    addItems(item, 0, entriesOf(item));
}

void NodeViewModelPrivate::addItems(ViewItem& item, int row, const QList<NodeView::Entry>& entries)
{
    for (const tqm::smart<NodeView>& view : m_tree.insert(item, row, entries))
        followView(*view);
    for (int i = row; i < row + int(entries.size()); ++i)
        refresh(item.child(i));
}

void NodeViewModelPrivate::refresh(ViewItem& item) const
{
    item.name = item.view ? item.view->name()
                          : nodeData(database, item.entry->id(), Qt::DisplayRole).toString();
    if (item.name.trimmed().isEmpty())
        item.name = item.entry->id();
}

void NodeViewModelPrivate::touch(const QString& id, const QList<int>& roles)
{
    change({ id, Change::EKind::eData, -1, QString(), roles });
}

void NodeViewModelPrivate::change(const Change& change)
{
    m_changes.append(change);
    if (m_silences == 0) {
        tell();
        return;
    }
    // More will have changed by then.
    if (change.kind != Change::EKind::eData)
        m_changes.last().kind = Change::EKind::eSomething;
}

void NodeViewModelPrivate::tell()
{
    ++m_silences;
    while (!m_changes.isEmpty()) {
        const Change change = m_changes.takeFirst();
        if (change.kind == Change::EKind::eData)
            tellData(change);
        else
            tellRows(change);
    }
    --m_silences;
}

void NodeViewModelPrivate::tellData(const Change& change)
{
    QList<QPersistentModelIndex> rows; // slots may have rows read
    for (const QModelIndex& index : q.indexesOf(change.id))
        rows.append(index);
    for (const QPersistentModelIndex& row : std::as_const(rows)) {
        refresh(itemAt(row));
        emit q.dataChanged(row, row, change.roles);
    }
}

void NodeViewModelPrivate::tellRows(const Change& change)
{
    // Rows may lag behind views: the view's rows at one place can lie in those at another one, and
    // go with them.
    QSet<const ViewItem*> done;
    for (bool isMore = true; isMore;) {
        isMore = false;
        for (ViewItem* const item : m_tree.itemsOf(change.id)) {
            if (!item->view || done.contains(item)) // a node may have the id of a view
                continue;
            done.insert(item);
            if (item->isRead)
                update(*item, change);
            else if (!change.entry.isEmpty() && item->view->count() == 0)
                tellEmpty(*item, change.entry);
            isMore = true;
            break;
        }
    }
}

/** Tells that the last entry went from rows that nobody read, though somebody may know that there
 * are any. */
void NodeViewModelPrivate::tellEmpty(ViewItem& item, const QString& entry)
{
    item.isRead = true;
    addItems(item, 0, { NodeView::Entry(new NodeEntry(entry)) });
    removeRows(item, 0, 1);
}

void NodeViewModelPrivate::update(ViewItem& item, const Change& change)
{
    const QList<NodeView::Entry> entries = entriesOf(item);
    const qsizetype more = entries.size() - item.childCount();
    if (change.kind == Change::EKind::eInserted && more == 1)
        insertRows(item, change.index, { entries.at(change.index) });
    else if (change.kind == Change::EKind::eRemoved && more == -1)
        removeRows(item, change.index, 1);
    else
        compare(item, entries);
}

void NodeViewModelPrivate::compare(ViewItem& item, const QList<NodeView::Entry>& entries)
{
    removeAbsent(item, entries);
    arrange(item, entries);
    const int surplus = item.childCount() - int(entries.size());
    if (surplus > 0)
        removeRows(item, int(entries.size()), surplus);
}

void NodeViewModelPrivate::removeAbsent(ViewItem& item, const QList<NodeView::Entry>& entries)
{
    // The rows before the first difference, and those after the last one, are there for certain.
    const int rows = item.childCount();
    const int count = int(entries.size());
    int first = 0;
    while (first < std::min(rows, count) && shows(item.child(first), entries.at(first)))
        ++first;
    int same = 0;
    while (same < std::min(rows, count) - first
        && shows(item.child(rows - 1 - same), entries.at(count - 1 - same)))
        ++same;
    const auto wanted = addresses(entries.mid(first, count - first - same));
    const auto isWanted = [&](int row) { return wanted.contains(item.child(row).entry.get()); };
    for (int end = rows - same; end > first;) {
        int begin = end;
        while (begin > first && !isWanted(begin - 1))
            --begin;
        if (begin < end)
            removeRows(item, begin, end - begin);
        end = begin - 1;
    }
}

void NodeViewModelPrivate::arrange(ViewItem& item, const QList<NodeView::Entry>& entries)
{
    for (int row = 0; row < int(entries.size()); ++row) {
        const NodeView::Entry& entry = entries.at(row);
        if (row < item.childCount() && shows(item.child(row), entry))
            continue;
        const auto begin = item.children.cbegin() + row;
        const auto found = std::find_if(
            begin, item.children.cend(), [&](const auto& child) { return shows(*child, entry); });
        if (found == item.children.cend())
            row = insertFrom(item, row, entries);
        else if (found == begin + 1) // this row moved down, rather than all others up
            moveRow(item, row,
                std::min(int(entries.indexOf(item.child(row).entry)), item.childCount() - 1));
        else
            moveRow(item, int(found - item.children.cbegin()), row);
    }
}

/** Inserts the entry of `row` with those after it that have no row; returns the last one's row. */
int NodeViewModelPrivate::insertFrom(ViewItem& item, int row, const QList<NodeView::Entry>& entries)
{
    int end = row + 1;
    if (row == item.childCount()) {
        end = int(entries.size()); // all others have their rows before this one
    } else {
        while (end < int(entries.size()) && !shows(item.child(row), entries.at(end))
            && std::none_of(item.children.cbegin() + row, item.children.cend(),
                [&](const auto& child) { return shows(*child, entries.at(end)); }))
            ++end;
    }
    insertRows(item, row, entries.mid(row, end - row));
    return end - 1;
}

void NodeViewModelPrivate::insertRows(
    ViewItem& item, int row, const QList<NodeView::Entry>& entries)
{
    q.beginInsertRows(indexOf(item), row, row + int(entries.size()) - 1);
    addItems(item, row, entries);
    q.endInsertRows();
}

void NodeViewModelPrivate::removeRows(ViewItem& item, int row, int count)
{
    q.beginRemoveRows(indexOf(item), row, row + count - 1);
    for (const tqm::smart<NodeView>& view : m_tree.remove(item, row, count))
        view->disconnect(&q);
    q.endRemoveRows();
}

void NodeViewModelPrivate::moveRow(ViewItem& item, int from, int to)
{
    const QModelIndex parent = indexOf(item);
    q.beginMoveRows(parent, from, from, parent, to > from ? to + 1 : to);
    m_tree.move(item, from, to);
    q.endMoveRows();
}

} // namespace tq
