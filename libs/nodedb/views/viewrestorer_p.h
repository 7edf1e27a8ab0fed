// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/storedviews_p.h"

#include "platform/smart.h"

#include <QHash>

#include <vector>

namespace tq {

/**
 * Makes views of what a store holds, however broken that is: everything is in a tree afterwards,
 * and each entry that had to be left out is a level 2 line. It looks at each entry once.
 *
 * Left out are entries that name no stored view, stand in the same view twice, close a cycle, or
 * would stand too deep. Views that then stand nowhere come to the top.
 */
class ViewRestorer
{
public:
    explicit ViewRestorer(StoredViews stored);

    /** Appends the entries of the top to `root`, which is announced for each. */
    void appendTo(NodeView& root);

private:
    enum class EState { eNew, eOpen, eDone };

    struct Draft
    {
        tqm::smart<NodeView> view;
        QList<StoredEntry> entries;
        EState state = EState::eNew;
        int below = 0; ///< steps of the longest way down
        bool stands = false; ///< in another view or at the top
    };

    /** A view whose entries are being gone through. */
    struct Visit
    {
        int draft;
        qsizetype next = 0;
    };

    void index();
    void dropUnusable(QList<StoredEntry>& entries, const QString& viewName) const;
    void finish(int start);
    bool take(Draft& draft, const StoredEntry& entry, std::vector<Visit>& open);
    Draft& draftOf(const StoredEntry& entry);

    StoredViews m_stored;
    std::vector<Draft> m_drafts;
    QHash<NodeViewID, int> m_indexes;
};

} // namespace tq
