// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/viewmatches_p.h"

#include "nodestore/nodedb.h"
#include "views/nodedata_p.h"
#include "views/viewwalk_p.h"

#include <algorithm>

namespace tq {

namespace {

constexpr int k_mostWords = 32; // more is no search: it was pasted

} // namespace

ViewMatches::ViewMatches(const QString& text)
    : m_words(text.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts).mid(0, k_mostWords))
{
}

bool ViewMatches::matches(const QStringList& texts) const
{
    return std::all_of(m_words.cbegin(), m_words.cend(), [&](const QString& word) {
        return std::any_of(texts.cbegin(), texts.cend(),
            [&](const QString& text) { return text.contains(word, Qt::CaseInsensitive); });
    });
}

bool ViewMatches::matchesNode(const NodeDB* database, const NodeID& id) const
{
    return isEverything() || matches(searchTexts(database, id));
}

bool ViewMatches::holdsMatchingNode(const NodeDB* database, const NodeView& view) const
{
    const auto entries = view.entries();
    return std::any_of(entries.cbegin(), entries.cend(), [&](const NodeView::Entry& entry) {
        return tqm::smart<NodeView>(entry).null() && matchesNode(database, entry->id())
            && !(database
                && database->isDestinationOfNodeRelation(entry->id(), eDeviceToRecordingFolder));
    });
}

bool ViewMatches::showsAnythingIn(const NodeDB* database, const NodeView& view) const
{
    const auto views = view.views();
    return std::any_of(views.cbegin(), views.cend(), [&](const auto& inner) {
        return isEverything() || holdsMatch(*inner);
    }) || holdsMatchingNode(database, view);
}

QSet<NodeViewID> ViewMatches::find(
    const NodeDB* database, const tqm::smart<NodeView>& root, const tqm::smart<NodeView>& unplaced)
{
    QSet<NodeViewID> found;
    if (!isEverything()) {
        if (!unplaced.null() && holdsMatchingNode(database, *unplaced))
            found.insert(unplaced->id());
        for (const tqm::smart<NodeView>& view : viewsBelow(*root)) {
            if (found.contains(view->id())
                || (!matches({ view->name() }) && !holdsMatchingNode(database, *view)))
                continue;
            // The view, and every view it stands in.
            QList<const NodeView*> open{ view.get() };
            while (!open.isEmpty()) {
                const NodeView* const current = open.takeLast();
                if (found.contains(current->id()))
                    continue;
                found.insert(current->id());
                for (const NodeView* const container : current->containers())
                    open.append(container);
            }
        }
    }
    const QSet<NodeViewID> changed = (found - m_views) | (m_views - found);
    m_views = found;
    return changed;
}

} // namespace tq
