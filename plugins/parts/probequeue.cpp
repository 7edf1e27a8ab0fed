// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/probequeue.h"

#include "platform/logline.h"

#include <utility>

namespace tq {

bool ProbeQueue::add(const Start& start)
{
    if (m_waiting.size() >= k_mostWaiting) {
        if (!std::exchange(m_isOverrun, true))
            logLine(Log::eSurvived,
                "Hints are passed over, so many wait to be probed: ", m_waiting.size());
        return false;
    }
    m_waiting.enqueue(start);
    startWaiting();
    return true;
}

void ProbeQueue::ended()
{
    --m_open;
    startWaiting();
    m_isOverrun = m_isOverrun && !m_waiting.isEmpty();
}

void ProbeQueue::startWaiting()
{
    while (!m_waiting.isEmpty() && m_open < k_mostOpen) {
        ++m_open;
        m_waiting.dequeue()();
    }
}

} // namespace tq
