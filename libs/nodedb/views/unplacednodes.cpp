// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/unplacednodes_p.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"
#include "views/nodeentry.h"

#include <QCoreApplication>

#include <algorithm>
#include <functional>
#include <utility>

namespace tq {

UnplacedNodes::UnplacedNodes(NodeDB& database, const tqm::smart<NodeView>& root)
    : m_database(&database)
    , m_root(root)
    , m_view(new NodeView(QCoreApplication::translate("tq::NodeViewModel", "Not in a view")))
{
    followDatabase(database);
    count(root);
    m_doubtful = database.nodeIdList();
    settle();
}

void UnplacedNodes::followDatabase(NodeDB& db)
{
    for (const auto signal : { &NodeDB::nodeInserted, &NodeDB::nodeRemoved })
        connect(&db, signal, this, &UnplacedNodes::doubt);
    for (const auto signal : { &NodeDB::nodeRelationAdded, &NodeDB::nodeRelationRemoved })
        connect(&db, signal, this, [this](const NodeID&, const NodeID& to, ENodeRelationType type) {
            if (type == eDeviceToRecordingFolder)
                doubt(to);
        });
}

void UnplacedNodes::follow(NodeView& view)
{
    connect(&view, &NodeView::entryInserted, this,
        [this, &view](const NodeViewID&, int index) { noteInserted(view, index); });
    connect(&view, &NodeView::entryRemoved, this,
        [this, &view](const NodeViewID&, int, const QString& entry) { noteRemoved(view, entry); });
}

// A slot that hears of a change first may make another one, which is told of before. Then the entry
// may not be what the signal says any more, and the whole view is looked at.

void UnplacedNodes::noteInserted(NodeView& view, int index)
{
    const NodeView::Entry entry = view.entries().value(index);
    if (!entry.null() && !m_followed[&view].entries.contains(entry->id())) {
        m_followed[&view].entries.insert(entry->id(), entry);
        count(entry);
    } else {
        compare(view);
    }
    settle();
}

void UnplacedNodes::noteRemoved(NodeView& view, const QString& id)
{
    const NodeView::Entry entry = m_followed[&view].entries.value(id);
    if (!entry.null() && !view.contains(id)) {
        m_followed[&view].entries.remove(id);
        discount(entry);
    } else {
        compare(view);
    }
    settle();
}

void UnplacedNodes::compare(NodeView& view)
{
    QHash<QString, NodeView::Entry> entries;
    for (const NodeView::Entry& entry : view.entries())
        entries.insert(entry->id(), entry);
    const auto known = std::exchange(m_followed[&view].entries, entries);
    for (const NodeView::Entry& entry : std::as_const(entries)) {
        if (known.value(entry->id()) != entry)
            count(entry);
    }
    for (const NodeView::Entry& entry : known) {
        if (entries.value(entry->id()) != entry)
            discount(entry);
    }
}

/** Counts one more place of a node or view, and what then stands below the root with it. */
void UnplacedNodes::count(const NodeView::Entry& entry)
{
    QList<NodeView::Entry> open{ entry };
    while (!open.isEmpty()) {
        const NodeView::Entry current = open.takeLast();
        const tqm::smart<NodeView> view(current);
        if (view.null()) {
            if (++m_places[current->id()] == 1)
                m_doubtful.append(current->id());
            continue;
        }
        Followed& followed = m_followed[view.get()];
        if (++followed.places > 1)
            continue;
        follow(*view);
        for (const NodeView::Entry& inner : view->entries()) {
            followed.entries.insert(inner->id(), inner);
            open.append(inner);
        }
    }
    // Many go from the end to the start, and come the other way, so that few rows shift.
    std::sort(m_doubtful.begin(), m_doubtful.end(), std::greater<>());
}

/** Takes one place away from a node or view, and what then stands nowhere below the root. */
void UnplacedNodes::discount(const NodeView::Entry& entry)
{
    QList<NodeView::Entry> open{ entry };
    while (!open.isEmpty()) {
        const NodeView::Entry current = open.takeLast();
        const tqm::smart<NodeView> view(current);
        if (view.null()) {
            if (--m_places[current->id()] == 0) {
                m_places.remove(current->id());
                m_doubtful.append(current->id());
            }
        } else if (--m_followed[view.get()].places == 0) {
            view->disconnect(this);
            open.append(m_followed.take(view.get()).entries.values());
        }
    }
    std::sort(m_doubtful.begin(), m_doubtful.end());
}

void UnplacedNodes::doubt(const NodeID& id)
{
    m_doubtful.append(id);
    settle();
}

void UnplacedNodes::settle()
{
    const QPointer<UnplacedNodes> alive(this); // a slot may have switched it off
    while (alive && !m_doubtful.isEmpty())
        settle(m_doubtful.takeFirst());
}

void UnplacedNodes::settle(const NodeID& id)
{
    const bool isWanted = isUnplaced(id);
    if (isWanted == m_view->contains(id))
        return;
    const tqm::smart<NodeView> view = m_view;
    const int index = indexOf(id);
    if (isWanted)
        view->insert(index, NodeView::Entry(new NodeEntry(id)));
    else
        view->removeAt(index);
}

/** Returns where this id stands, or belongs. */
int UnplacedNodes::indexOf(const NodeID& id) const
{
    const QList<NodeView::Entry> entries = m_view->entries();
    const auto found = std::lower_bound(entries.cbegin(), entries.cend(), id,
        [](const NodeView::Entry& entry, const NodeID& other) { return entry->id() < other; });
    return int(found - entries.cbegin());
}

bool UnplacedNodes::isUnplaced(const NodeID& id) const
{
    return m_database && !m_places.contains(id) && !m_database->node(id).null()
        && !m_database->isDestinationOfNodeRelation(id, eDeviceToRecordingFolder);
}

} // namespace tq
