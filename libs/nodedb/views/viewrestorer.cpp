// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/viewrestorer_p.h"

#include "views/nodeentry.h"
#include "views/nodeview.h"

#include "platform/logline.h"

#include <QSet>

#include <algorithm>

namespace tq {

ViewRestorer::ViewRestorer(StoredViews stored) : m_stored(std::move(stored))
{
    index();
}

void ViewRestorer::index()
{
    for (const StoredView& stored : std::as_const(m_stored.views)) {
        if (m_indexes.contains(stored.id)) {
            logLine(Log::eSurvived,
                "A view is stored twice, the second one is left out: ", stored.id, " ",
                stored.name);
            continue;
        }
        if (stored.id.isEmpty())
            logLine(Log::eSurvived, "A stored view has no id and gets a new one: ", stored.name);
        const tqm::smart<NodeView> view(
            stored.id.isEmpty() ? new NodeView(stored.name) : new NodeView(stored.id, stored.name));
        m_indexes.insert(view->id(), int(m_drafts.size()));
        m_drafts.push_back({ view, stored.entries });
    }
    for (Draft& draft : m_drafts)
        dropUnusable(draft.entries, draft.view->name());
    dropUnusable(m_stored.top, QStringLiteral("the top"));
}

void ViewRestorer::dropUnusable(QList<StoredEntry>& entries, const QString& viewName) const
{
    QSet<QString> seen;
    entries.removeIf([&](const StoredEntry& entry) {
        const bool isUnknown = entry.isView && !m_indexes.contains(entry.id);
        if (isUnknown)
            logLine(Log::eSurvived, "A view that is not stored is left out of a view: ", entry.id,
                ", ", viewName);
        else if (seen.contains(entry.id))
            logLine(Log::eSurvived,
                "A view has an entry twice, the second one is left out: ", entry.id, ", ",
                viewName);
        const bool isUsable = !isUnknown && !seen.contains(entry.id);
        seen.insert(entry.id);
        return !isUsable;
    });
}

ViewRestorer::Draft& ViewRestorer::draftOf(const StoredEntry& entry)
{
    return m_drafts[size_t(m_indexes.value(entry.id))];
}

void ViewRestorer::finish(int start)
{
    std::vector<Visit> open{ { start } };
    while (!open.empty()) {
        Visit& visit = open.back();
        Draft& draft = m_drafts[size_t(visit.draft)];
        if (visit.next == draft.entries.size() || draft.state == EState::eDone) {
            draft.state = EState::eDone;
            open.pop_back();
            continue;
        }
        draft.state = EState::eOpen;
        if (take(draft, draft.entries.at(visit.next), open))
            ++open.back().next;
    }
}

/** Returns whether the entry is dealt with; otherwise its view was opened and it comes again. */
bool ViewRestorer::take(Draft& draft, const StoredEntry& entry, std::vector<Visit>& open)
{
    if (!entry.isView) {
        draft.view->place(draft.view->count(), NodeView::Entry(new NodeEntry(entry.id)));
        return true;
    }
    Draft& child = draftOf(entry);
    if (child.state == EState::eNew) {
        open.push_back({ m_indexes.value(entry.id) });
        return false;
    }
    if (child.state == EState::eOpen) {
        logLine(Log::eSurvived, "Stored views lead to a cycle, which is cut: ", draft.view->id(),
            " holds ", entry.id);
    } else if (child.below + 2 > NodeView::k_mostLevels) { // one step more from the root
        logLine(Log::eSurvived,
            "A stored view stands too deep and is left out of a view: ", entry.id, ", ",
            draft.view->id());
    } else {
        draft.below = std::max(draft.below, child.below + 1);
        child.stands = true;
        draft.view->place(draft.view->count(), child.view);
    }
    return true;
}

void ViewRestorer::appendTo(NodeView& root)
{
    for (const StoredEntry& entry : std::as_const(m_stored.top)) {
        if (entry.isView) {
            draftOf(entry).stands = true;
            finish(m_indexes.value(entry.id));
        }
    }
    for (size_t i = 0; i < m_drafts.size(); ++i)
        finish(int(i));
    for (const Draft& draft : m_drafts) {
        if (!draft.stands) {
            logLine(Log::eSurvived,
                "A stored view stands nowhere and comes to the top: ", draft.view->id(), " ",
                draft.view->name());
            m_stored.top.append({ draft.view->id(), true });
        }
    }
    for (const StoredEntry& entry : std::as_const(m_stored.top)) {
        if (root.contains(entry.id)) { // put there by a slot, or a view that has a node's id
            logLine(Log::eSurvived, "What stands at the top already is left out: ", entry.id);
            continue;
        }
        root.place(root.count(),
            entry.isView ? NodeView::Entry(draftOf(entry).view)
                         : NodeView::Entry(new NodeEntry(entry.id)));
    }
}

} // namespace tq
