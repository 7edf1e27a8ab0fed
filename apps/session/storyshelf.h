// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "session/hintstory.h"

#include <map>
#include <optional>
#include <set>

namespace tq {

/** Keeps a bounded number of stories: for a new one the oldest finished one goes, or else the
 * oldest. */
class StoryShelf
{
public:
    explicit StoryShelf(qsizetype capacity);

    /** Drops a story when there is no room for one more, and returns it. */
    std::optional<HintStory> makeRoom();

    /** Adds an empty story with the next number, for which room was made. */
    HintStory& add();

    /** Returns the story; null when it is not or no longer there. */
    HintStory* find(quint64 number);
    const HintStory* find(quint64 number) const;

    /** Tells the shelf that a story may have become finished. */
    void update(const HintStory& story);

    /** Returns the newest story for which `matches(story)` holds; null without one. */
    template <class Matches>
    const HintStory* findNewest(Matches matches) const
    {
        for (auto it = m_stories.crbegin(); it != m_stories.crend(); ++it) {
            if (matches(it->second))
                return &it->second;
        }
        return nullptr;
    }

    /** Returns all stories in the order of coming. */
    QList<HintStory> all() const;

    /** Returns how many stories were dropped. */
    qint64 dropped() const { return m_dropped; }

private:
    std::size_t m_capacity;
    quint64 m_last = 0;
    qint64 m_dropped = 0;
    std::map<quint64, HintStory> m_stories;
    std::set<quint64> m_finished;
};

} // namespace tq
