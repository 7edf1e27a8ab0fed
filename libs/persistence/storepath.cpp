// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/storepath_p.h"

#include "platform/logline.h"

#include <algorithm>

namespace tq {

void StorePath::open(const QString& name)
{
    m_levels.push_back({ name, false, false, -1 });
}

void StorePath::openArray(const QString& name, bool forWriting)
{
    m_levels.push_back({ name, true, forWriting, -1 });
}

bool StorePath::closeThrough(bool array)
{
    const char* kind = array ? "an array" : "a group";
    const auto wanted = std::find_if(m_levels.rbegin(), m_levels.rend(),
        [array](const Level& level) { return level.isArray == array; });
    if (wanted == m_levels.rend()) {
        logLine(Log::eSurvived, "Store: the end of ", kind, " that is not open, at ", text());
        return false;
    }
    if (wanted != m_levels.rbegin())
        logLine(Log::eSurvived, "Store: left open inside ", kind, ", closed with it: ", text());
    m_levels.erase(wanted.base() - 1, m_levels.end());
    return true;
}

bool StorePath::select(int index)
{
    const auto array = std::find_if(
        m_levels.rbegin(), m_levels.rend(), [](const Level& level) { return level.isArray; });
    if (array == m_levels.rend()) {
        logLine(Log::eSurvived, "Store: an entry was selected, but no array is open, at ", text());
        return false;
    }
    if (array != m_levels.rbegin()) {
        logLine(Log::eSurvived, "Store: left open in an array's entry, closed: ", text());
        m_levels.erase(array.base(), m_levels.end());
    }
    const bool isTooHigh = index > k_maxIndex;
    if (isTooHigh)
        logLine(Log::eSurvived, "Store: no array has an entry ", index, ", at ", text());
    m_levels.back().index = isTooHigh ? -1 : std::max(index, -1);
    return true;
}

void StorePath::closeAll()
{
    if (!m_levels.empty())
        logLine(Log::eSurvived, "Store: left open at the end, closed: ", text());
    m_levels.clear();
}

std::size_t StorePath::outermostArray() const
{
    const auto array = std::find_if(
        m_levels.begin(), m_levels.end(), [](const Level& level) { return level.isArray; });
    return std::size_t(array - m_levels.begin());
}

bool StorePath::hasEntry() const
{
    return std::none_of(m_levels.begin(), m_levels.end(),
        [](const Level& level) { return level.isArray && level.index < 0; });
}

bool StorePath::isWritable() const
{
    if (m_levels.size() > k_maxDepth)
        logLine(Log::eSurvived, "Store: nested too deeply, not written: ", text());
    else if (!hasEntry())
        logLine(Log::eSurvived, "Store: no entry of the array is selected, not written: ", text());
    else
        return true;
    return false;
}

StoreLocation StorePath::location() const
{
    StoreLocation result;
    for (const Level& level : m_levels)
        result.append({ level.name, level.index });
    return result;
}

QString StorePath::text() const
{
    QString result;
    for (const Level& level : m_levels) {
        result += QLatin1Char('/') + level.name;
        if (level.isArray)
            result += QStringLiteral("[%1]").arg(level.index);
    }
    return result.isEmpty() ? QStringLiteral("/") : result;
}

} // namespace tq
