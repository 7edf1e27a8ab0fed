// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/storyshelf.h"

#include <algorithm>

namespace tq {

StoryShelf::StoryShelf(qsizetype capacity)
    : m_capacity(std::size_t(std::max<qsizetype>(1, capacity)))
{
}

HintStory& StoryShelf::add()
{
    HintStory& story = m_stories[++m_last];
    story.number = m_last;
    return story;
}

HintStory* StoryShelf::find(quint64 number)
{
    const auto found = m_stories.find(number);
    return found == m_stories.end() ? nullptr : &found->second;
}

const HintStory* StoryShelf::find(quint64 number) const
{
    const auto found = m_stories.find(number);
    return found == m_stories.end() ? nullptr : &found->second;
}

void StoryShelf::update(const HintStory& story)
{
    if (story.isFinished())
        m_finished.insert(story.number);
    else
        m_finished.erase(story.number);
}

QList<HintStory> StoryShelf::all() const
{
    QList<HintStory> result;
    for (const auto& [number, story] : m_stories)
        result.append(story);
    return result;
}

std::optional<HintStory> StoryShelf::makeRoom()
{
    if (m_stories.size() < m_capacity)
        return std::nullopt;
    const quint64 number = m_finished.empty() ? m_stories.begin()->first : *m_finished.begin();
    const auto dropped = m_stories.extract(number);
    m_finished.erase(number);
    ++m_dropped;
    return dropped.mapped();
}

} // namespace tq
