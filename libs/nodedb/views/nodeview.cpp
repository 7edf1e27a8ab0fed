// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/nodeview.h"

#include "platform/exceptions.h"
#include "platform/logline.h"

#include <QHash>
#include <QPointer>
#include <QUuid>

#include <algorithm>

namespace tq {

namespace {

/** Returns how many steps the longest way from `start` takes, where `next` gives the views that
 * are one step away. No way leads back. */
template <class Next>
int longestWay(const NodeView* start, Next next)
{
    QHash<const NodeView*, int> done;
    QList<const NodeView*> open{ start };
    while (!open.isEmpty()) {
        const NodeView* const view = open.last();
        int longest = 0;
        const qsizetype before = open.size();
        if (!done.contains(view)) {
            for (const auto& neighbour : next(*view)) {
                const auto known = done.constFind(&*neighbour);
                if (known == done.cend())
                    open.append(&*neighbour);
                else
                    longest = std::max(longest, *known + 1);
            }
        }
        if (open.size() > before)
            continue; // looked at again when these are done
        if (!done.contains(view))
            done.insert(view, longest);
        open.removeLast();
    }
    return done.value(start);
}

} // namespace

NodeView::NodeView(const QString& name) : NodeView(QUuid::createUuid().toString(), name) { }

NodeView::NodeView(const NodeViewID& id, const QString& name) : m_id(id), m_name(name) { }

NodeView::~NodeView()
{
    for (const auto& view : views())
        view->m_containers.removeOne(this);
}

NodeViewID NodeView::id() const
{
    return m_id;
}

QString NodeView::name() const
{
    return m_name;
}

void NodeView::rename(const QString& name)
{
    if (name == m_name)
        return;
    m_name = name;
    const QPointer<NodeView> alive(this);
    emit renamed(m_id);
    if (alive)
        announceContents();
}

QList<NodeView::Entry> NodeView::entries() const
{
    return m_entries;
}

int NodeView::count() const
{
    return int(m_entries.size());
}

QList<tqm::smart<NodeView>> NodeView::views() const
{
    // Kept, since walks over views would look at each node again and again.
    if (!m_views) {
        m_views.emplace();
        for (const Entry& entry : m_entries) {
            const tqm::smart<NodeView> view(entry);
            if (!view.null())
                m_views->append(view);
        }
    }
    return *m_views;
}

/** Has views() look again when the entry is one. */
void NodeView::forgetViews(const Entry& entry)
{
    if (!tqm::smart<NodeView>(entry).null())
        m_views.reset();
}

QList<NodeView*> NodeView::containers() const
{
    return m_containers;
}

NodeView::Entry NodeView::find(const QString& id) const
{
    return m_entries.at(indexOfOrThrow(id));
}

bool NodeView::contains(const QString& id) const
{
    return m_ids.contains(id);
}

int NodeView::indexOf(const QString& id) const
{
    if (!contains(id))
        return -1;
    const auto found = std::find_if(m_entries.cbegin(), m_entries.cend(),
        [&](const Entry& entry) { return entry->id() == id; });
    return int(found - m_entries.cbegin());
}

int NodeView::indexOfOrThrow(const QString& id) const
{
    const int index = indexOf(id);
    if (index < 0)
        throw IllegalArgumentException(id, QStringLiteral("Not found in %1.").arg(m_name));
    return index;
}

bool NodeView::standsIn(const NodeView& view) const
{
    QSet<const NodeView*> seen{ this };
    QList<const NodeView*> open{ this };
    while (!open.isEmpty()) {
        const NodeView* const current = open.takeLast();
        if (current == &view)
            return true;
        for (const NodeView* const container : current->m_containers) {
            if (!seen.contains(container)) {
                seen.insert(container);
                open.append(container);
            }
        }
    }
    return false;
}

NodeView::EFit NodeView::fit(const Entry& entry) const
{
    if (entry.null() || entry->id().isEmpty())
        return EFit::eNothing;
    const tqm::smart<NodeView> view(entry);
    if (!view.null() && standsIn(*view))
        return EFit::eCycle;
    if (contains(entry->id()))
        return EFit::eStandsHere;
    if (view.null())
        return EFit::eFits;
    const int above = longestWay(this, [](const NodeView& v) { return v.m_containers; });
    const int below = longestWay(view.get(), [](const NodeView& v) { return v.views(); });
    return above + 1 + below > k_mostLevels ? EFit::eTooDeep : EFit::eFits;
}

bool NodeView::insert(int index, const Entry& entry)
{
    switch (fit(entry)) {
    case EFit::eFits:
        place(std::clamp(index, 0, count()), entry);
        return true;
    case EFit::eCycle:
        throw IllegalArgumentException(
            entry->id(), QStringLiteral("Adding this view would lead to a cycle."));
    case EFit::eTooDeep:
        logLine(Log::eSurvived, "A view is not added, it would stand too deep: ", entry->id());
        return false;
    case EFit::eStandsHere:
    case EFit::eNothing:
        break;
    }
    return false;
}

bool NodeView::append(const Entry& entry)
{
    return insert(count(), entry);
}

void NodeView::place(int index, const Entry& entry)
{
    m_entries.insert(index, entry);
    m_ids.insert(entry->id());
    forgetViews(entry);
    const tqm::smart<NodeView> view(entry);
    if (!view.null())
        view->m_containers.append(this);
    const QPointer<NodeView> alive(this);
    emit entryInserted(m_id, index);
    if (alive)
        announceContents();
}

void NodeView::move(const QString& id, int index)
{
    const int from = indexOfOrThrow(id);
    const int before = std::clamp(index, 0, count());
    const int to = before > from ? before - 1 : before;
    if (to == from)
        return;
    m_entries.move(from, to);
    forgetViews(m_entries.at(to));
    const QPointer<NodeView> alive(this);
    emit entryMoved(m_id, from, to);
    if (alive)
        announceContents();
}

void NodeView::remove(const QString& id)
{
    removeAt(indexOfOrThrow(id));
}

void NodeView::removeAt(int index)
{
    const Entry entry = m_entries.takeAt(index);
    m_ids.remove(entry->id());
    forgetViews(entry);
    const tqm::smart<NodeView> view(entry);
    if (!view.null())
        view->m_containers.removeOne(this);
    const QPointer<NodeView> alive(this);
    emit entryRemoved(m_id, index, entry->id());
    if (alive)
        announceContents();
}

void NodeView::announceContents()
{
    QSet<const NodeView*> seen{ this };
    QList<QPointer<NodeView>> all{ this };
    for (qsizetype i = 0; i < all.size(); ++i) {
        for (NodeView* const container : all.at(i)->m_containers) {
            if (!seen.contains(container)) {
                seen.insert(container);
                all.append(container);
            }
        }
    }
    for (const QPointer<NodeView>& view : std::as_const(all)) {
        if (view)
            emit view->contentsChanged(view->m_id);
    }
}

} // namespace tq
