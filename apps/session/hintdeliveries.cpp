// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/hintdeliveries.h"

#include <algorithm>
#include <utility>

namespace tq {

namespace {

/** Deliveries and lapsed contents that are remembered; beyond, what cannot be matched is unknown.
 */
constexpr std::size_t k_mostOpen = 1024;

bool isSame(const HintDeliveries::Delivery& a, const HintDeliveries::Delivery& b)
{
    return a.scanner == b.scanner && a.kind == b.kind && a.contents == b.contents;
}

} // namespace

void HintDeliveries::begin(const Delivery& delivery)
{
    if (delivery.isQueued) {
        if (m_queued.size() >= k_mostOpen) {
            lapse(m_queued.front());
            m_queued.erase(m_queued.begin());
        }
        m_queued.push_back(delivery);
        return;
    }
    // One that nobody ends is over when the same scanner goes on.
    while (!m_direct.empty() && !m_direct.back().hasEnd
        && m_direct.back().scanner == delivery.scanner) {
        lapse(m_direct.back());
        m_direct.pop_back();
    }
    m_direct.push_back(delivery);
}

void HintDeliveries::end(const Delivery& delivery)
{
    if (delivery.isQueued)
        return endQueued(delivery);
    const auto found = std::find_if(m_direct.rbegin(), m_direct.rend(),
        [&](const Delivery& open) { return isSame(open, delivery); });
    if (found == m_direct.rend())
        return;
    // Those inside of it, too: the thread has left them.
    const auto first = std::prev(found.base());
    for (auto it = first; it != m_direct.end(); ++it)
        finish(*it);
    m_direct.erase(first, m_direct.end());
}

void HintDeliveries::endQueued(const Delivery& delivery)
{
    const auto found = std::find_if(m_queued.begin(), m_queued.end(),
        [&](const Delivery& open) { return isSame(open, delivery); });
    if (found == m_queued.end())
        return;
    // Its outcome was told of an equal one, so that one's is still to come.
    const auto other = std::find_if(m_queued.begin(), m_queued.end(), [&](const Delivery& open) {
        return open.isMixed && open.isTold && open.contents == found->contents;
    });
    if (found->isMixed && !found->isTold && other != m_queued.end()) {
        std::swap(found->story, other->story);
        std::swap(found->isTold, other->isTold);
    }
    finish(*found);
    // Older ones of that scanner are over as well, unless it reports on several threads.
    for (auto it = m_queued.begin(); it != found; ++it) {
        if (it->scanner == delivery.scanner)
            lapse(*it);
    }
    const auto isOver = [&](const Delivery& open) { return open.scanner == delivery.scanner; };
    m_queued.erase(std::remove_if(m_queued.begin(), std::next(found), isOver), std::next(found));
}

void HintDeliveries::loseEnds(const void* scanner)
{
    for (Delivery& open : m_direct)
        open.hasEnd = open.hasEnd && open.scanner != scanner;
}

QList<quint64> HintDeliveries::sweep()
{
    while (!m_direct.empty() && !m_direct.back().hasEnd) {
        lapse(m_direct.back());
        m_direct.pop_back();
    }
    QList<quint64> result = std::exchange(m_silent, {});
    for (const Delivery& over : std::exchange(m_waitingBefore, std::exchange(m_waiting, {})))
        result.append(over.story);
    m_overBefore = std::exchange(m_over, {});
    return result;
}

bool HintDeliveries::needsSweep() const
{
    return !m_waitingBefore.isEmpty() || !m_overBefore.isEmpty();
}

HintDeliveries::Match HintDeliveries::takeNew(std::size_t contents)
{
    const auto fits = [&](const Delivery& open) {
        return !open.isTold && open.kind == HintStory::eNew && open.contents == contents;
    };
    std::vector<Delivery*> candidates;
    if (!m_direct.empty() && fits(m_direct.back()))
        candidates.push_back(&m_direct.back());
    for (Delivery& open : m_queued) {
        if (fits(open))
            candidates.push_back(&open);
    }
    for (QList<Delivery>* const list : { &m_waitingBefore, &m_waiting }) {
        for (Delivery& over : *list) {
            if (fits(over))
                candidates.push_back(&over);
        }
    }
    Match match;
    if (candidates.empty())
        return match;
    Delivery& first = *candidates.front();
    first.isTold = true;
    match.story = first.story;
    match.isCertain =
        candidates.size() == 1 && first.hasEnd && !first.isQueued && &first == innermost();
    for (const Delivery* const other : candidates) {
        if (other->scanner != first.scanner)
            match.rivals.append(other->story);
    }
    for (Delivery* const one : candidates)
        one->isMixed = one->isMixed || !match.rivals.isEmpty();
    return match;
}

HintDeliveries::Delivery* HintDeliveries::only(HintStory::EKind kind)
{
    const auto fits = [&](const Delivery& open) {
        return open.kind == kind && (kind != HintStory::eNew || open.nodeType != eAnyNodeType);
    };
    if (!m_direct.empty())
        return fits(m_direct.back()) ? &m_direct.back() : nullptr;
    Delivery* result = nullptr;
    for (Delivery& open : m_queued) {
        if (!fits(open))
            continue;
        if (result)
            return nullptr;
        result = &open;
    }
    return result;
}

bool HintDeliveries::isAnyOpen(HintStory::EKind kind) const
{
    const auto fits = [&](const Delivery& open) { return open.kind == kind; };
    return std::any_of(m_direct.begin(), m_direct.end(), fits)
        || std::any_of(m_queued.begin(), m_queued.end(), fits);
}

bool HintDeliveries::mayHaveBeen(std::size_t contents) const
{
    const auto isIt = [&](const Delivery& open) { return open.contents == contents; };
    return m_isLossy || m_lapsed.contains(contents) || m_over.contains(contents)
        || m_overBefore.contains(contents) || std::any_of(m_direct.begin(), m_direct.end(), isIt)
        || std::any_of(m_queued.begin(), m_queued.end(), isIt);
}

void HintDeliveries::finish(const Delivery& delivery)
{
    if (delivery.kind == HintStory::eNew)
        m_over.insert(delivery.contents);
    if (delivery.isTold)
        return;
    if (delivery.kind == HintStory::eNew && delivery.nodeType == eAnyNodeType)
        m_waiting.append(delivery);
    else
        m_silent.append(delivery.story);
}

void HintDeliveries::lapse(const Delivery& delivery)
{
    finish(delivery);
    if (delivery.isTold)
        return;
    m_isLossy = m_isLossy || m_lapsed.size() >= qsizetype(k_mostOpen);
    if (!m_isLossy)
        m_lapsed.insert(delivery.contents);
}

} // namespace tq
