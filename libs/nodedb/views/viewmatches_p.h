// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/nodeview.h"

#include <QSet>
#include <QStringList>

namespace tq {

class NodeDB;

/** What a search text finds among nodes and views. */
class ViewMatches
{
public:
    /** `text` is split into words, the first 32 of which must each occur. */
    explicit ViewMatches(const QString& text = {});

    /** Returns whether everything matches. */
    bool isEverything() const { return m_words.isEmpty(); }
    bool matchesNode(const NodeDB* database, const NodeID& id) const;

    /** Returns whether the view was found to match, or to hold something that does. */
    bool holdsMatch(const NodeView& view) const { return m_views.contains(view.id()); }

    /** Returns whether anything that stands in the view is to be shown. */
    bool showsAnythingIn(const NodeDB* database, const NodeView& view) const;

    /**
     * Looks through everything below `root` once, and through the nodes of `unplaced` (may be
     * null), whose name does not count. Returns the ids of the views that were found before and are
     * not now, or the other way round.
     */
    QSet<NodeViewID> find(const NodeDB* database, const tqm::smart<NodeView>& root,
        const tqm::smart<NodeView>& unplaced);

private:
    bool matches(const QStringList& texts) const;
    bool holdsMatchingNode(const NodeDB* database, const NodeView& view) const;

    QStringList m_words;
    QSet<NodeViewID> m_views;
};

} // namespace tq
