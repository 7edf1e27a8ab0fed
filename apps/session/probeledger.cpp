// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/probeledger.h"

#include <algorithm>

namespace tq {

namespace {

constexpr int k_mostEarlyRequests = 64;

} // namespace

HintStory* ProbeLedger::storyOf(int requestId)
{
    const auto found = m_requests.constFind(requestId);
    return found == m_requests.cend() ? nullptr : m_shelf.find(found->story);
}

void ProbeLedger::begin(HintStory& story, int requestId, qint64 now)
{
    story.requestId = requestId;
    story.probedAt = now;
    story.outcome = HintStory::eProbing;
    Request request;
    request.story = story.number;
    for (const Driver& driver : m_drivers) {
        HintStory::Driver part;
        part.name = driver.name;
        part.asked = driver.asked;
        part.outstanding = driver.asked;
        story.drivers.append(part);
        request.pending += driver.asked;
    }
    m_requests.insert(requestId, request);
    m_lastBegun = std::max(m_lastBegun, requestId);
    for (const EarlyAnswer& early : m_early.take(requestId))
        answer(requestId, early.driver, early.answer);
}

void ProbeLedger::answer(int requestId, int driver, const HintStory::Answer& answer)
{
    const auto found = m_requests.find(requestId);
    if (found != m_requests.end())
        return write(*found, driver, answer);
    // The rest answers a story that was dropped.
    const bool isEarly = requestId > m_lastBegun;
    if (!isEarly || (m_early.size() >= k_mostEarlyRequests && !m_early.contains(requestId)))
        return;
    QList<EarlyAnswer>& early = m_early[requestId];
    if (early.size() < HintStory::k_mostAnswers)
        early.append({ driver, answer });
}

void ProbeLedger::write(Request& request, int driver, HintStory::Answer answer)
{
    HintStory* const story = m_shelf.find(request.story);
    if (!story)
        return;
    if (driver < 0) {
        // No answer for a driver that the library knows: shown, but nothing follows from it.
        driver = int(m_drivers.size());
        if (story->drivers.size() == driver)
            story->drivers.emplaceBack().name = QStringLiteral("an unknown driver");
    }
    HintStory::Driver& part = story->drivers[driver];
    // The library hears a later answer as often as it asked that driver.
    const int weight = answer.isAtOnce ? 1 : part.asked;
    answer.weight = weigh(request, part.outstanding);
    request.pending -= weight;
    request.isCertain = request.isCertain || (answer.result == 1 && part.asked > 0);
    part.outstanding = std::max(0, part.outstanding - weight);
    if (part.answers.size() < HintStory::k_mostAnswers)
        part.answers.append(answer);
    else
        ++part.furtherAnswers;
}

HintStory::EWeight ProbeLedger::weigh(const Request& request, int outstanding)
{
    // The library is connected to every answer before us: the one that decides is heard after the
    // decision.
    if (request.isDecided && (request.isCertain || request.pending <= 0))
        return HintStory::eLate;
    return outstanding > 0 ? HintStory::eCounted : HintStory::eAgain;
}

void ProbeLedger::decide(int requestId, int driver)
{
    const auto found = m_requests.find(requestId);
    HintStory* const story = storyOf(requestId);
    if (!story)
        return;
    found->isDecided = true;
    if (driver >= 0 && driver < story->drivers.size())
        story->drivers[driver].hasWon = true;
}

} // namespace tq
