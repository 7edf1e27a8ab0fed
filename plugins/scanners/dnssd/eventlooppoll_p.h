// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <avahi-common/watch.h>

namespace tq {

/**
 * Lets Avahi's client library run on the Qt event loop of the thread that uses it. Must live as
 * long as any client that was made with it.
 */
class EventLoopPoll
{
public:
    EventLoopPoll();
    EventLoopPoll(const EventLoopPoll&) = delete;
    EventLoopPoll& operator=(const EventLoopPoll&) = delete;

    const AvahiPoll* api() const { return &m_api; }

private:
    QObject m_owner; ///< of what waits for the event loop to end it
    AvahiPoll m_api;
};

} // namespace tq
