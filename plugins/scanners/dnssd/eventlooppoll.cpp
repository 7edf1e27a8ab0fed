// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/dnssd/eventlooppoll_p.h"

#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <utility>

#include <avahi-common/timeval.h>

// Both are Avahi's names for what an event loop makes of them.

struct AvahiWatch
{
    AvahiWatch(QObject* owner, int descriptor, AvahiWatchCallback call, void* data)
        : fd(descriptor)
        , callback(call)
        , userdata(data)
        , reader(listen(QSocketNotifier::Read, owner))
        , writer(listen(QSocketNotifier::Write, owner))
    {
    }

    ~AvahiWatch()
    {
        drop(reader);
        drop(writer);
    }

    AvahiWatch(const AvahiWatch&) = delete;
    AvahiWatch& operator=(const AvahiWatch&) = delete;

    void wait(AvahiWatchEvent events)
    {
        wanted = events;
        reader->setEnabled((events & AVAHI_WATCH_IN) != 0);
        writer->setEnabled((events & AVAHI_WATCH_OUT) != 0);
    }

    /** Asks the system: a notifier alone does not tell a hang-up from something to read. */
    AvahiWatchEvent happened() const
    {
        pollfd state{ fd, short(wanted), 0 };
        const bool isAny = ::poll(&state, 1, 0) > 0;
        return AvahiWatchEvent(isAny ? state.revents : 0);
    }

    const int fd;

private:
    /** Returns one that is off: a descriptor may have several watches, and of each type the last
     * notifier that was on, even for a moment, displaces the others. */
    QSocketNotifier* listen(QSocketNotifier::Type type, QObject* owner)
    {
        auto* const notifier = new QSocketNotifier(type, owner);
        notifier->setSocket(fd);
        QObject::connect(notifier, &QSocketNotifier::activated, notifier, [this] {
            const AvahiWatchEvent events = happened();
            if (events != 0)
                callback(this, fd, events, userdata); // may end this watch
        });
        return notifier;
    }

    /** We may stand in its signal. */
    static void drop(QSocketNotifier* notifier)
    {
        notifier->setEnabled(false);
        notifier->disconnect();
        notifier->deleteLater();
    }

    const AvahiWatchCallback callback;
    void* const userdata;
    AvahiWatchEvent wanted{};
    QSocketNotifier* const reader;
    QSocketNotifier* const writer;
};

struct AvahiTimeout
{
    AvahiTimeout(QObject* owner, AvahiTimeoutCallback call, void* data) : timer(new QTimer(owner))
    {
        timer->setSingleShot(true);
        QObject::connect(timer, &QTimer::timeout, timer,
            [this, call, data] { call(this, data); }); // may end this timeout
    }

    ~AvahiTimeout()
    {
        timer->stop();
        timer->disconnect();
        timer->deleteLater();
    }

    AvahiTimeout(const AvahiTimeout&) = delete;
    AvahiTimeout& operator=(const AvahiTimeout&) = delete;

    /** Waits until this time of the wall clock; for ever when null. */
    void waitUntil(const timeval* time)
    {
        if (!time)
            return timer->stop();
        const std::chrono::microseconds rest(-avahi_age(time));
        const auto shown = std::chrono::ceil<std::chrono::milliseconds>(rest);
        timer->start(std::max(shown, std::chrono::milliseconds(0)));
    }

private:
    QTimer* const timer;
};

namespace tq {

namespace {

QObject* ownerOf(const AvahiPoll* api)
{
    return static_cast<QObject*>(api->userdata);
}

AvahiWatch* newWatch(const AvahiPoll* api, int fd, AvahiWatchEvent events,
    AvahiWatchCallback callback, void* userdata)
{
    auto* const watch = new AvahiWatch(ownerOf(api), fd, callback, userdata);
    watch->wait(events);
    return watch;
}

AvahiTimeout* newTimeout(
    const AvahiPoll* api, const timeval* time, AvahiTimeoutCallback callback, void* userdata)
{
    auto* const timeout = new AvahiTimeout(ownerOf(api), callback, userdata);
    timeout->waitUntil(time);
    return timeout;
}

} // namespace

EventLoopPoll::EventLoopPoll() : m_api{}
{
    m_api.userdata = &m_owner;
    m_api.watch_new = newWatch;
    m_api.watch_update = [](AvahiWatch* watch, AvahiWatchEvent events) { watch->wait(events); };
    m_api.watch_get_events = [](AvahiWatch* watch) { return watch->happened(); };
    m_api.watch_free = [](AvahiWatch* watch) { delete watch; };
    m_api.timeout_new = newTimeout;
    m_api.timeout_update = [](AvahiTimeout* timeout, const timeval* time) {
        timeout->waitUntil(time);
    };
    m_api.timeout_free = [](AvahiTimeout* timeout) { delete timeout; };
}

} // namespace tq
