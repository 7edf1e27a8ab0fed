// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/dnssd/eventlooppoll_p.h"
#include "scanners/dnssd/resolverpool_p.h"
#include "scanners/dnssd/servicetable_p.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <list>

#include <avahi-client/client.h>

namespace tq {

/**
 * Follows the services of some types through Avahi's daemon, on the thread that starts it.
 *
 * Types that tell their kind are looked for first, the others when those have shown what there is:
 * so a device that announces several is met by the type that says most. When the daemon, or the
 * message bus that leads to it, is not there or goes, one level 2 line says so and it is tried
 * again until it is back. What was found meanwhile stays; what is not announced again within ten
 * seconds of the return is gone.
 *
 * Talking to the daemon waits for its answers, which a daemon that runs gives at once. One that
 * hangs holds up this thread as long as the message bus lets it (25 s), and is then left alone for
 * four times as long.
 */
class ServiceWatch : public QObject
{
    Q_OBJECT

public:
    explicit ServiceWatch(QObject* parent = nullptr);
    ~ServiceWatch() override;

    /** Starts over with these types. */
    void start(const QList<ServiceType>& types);

    /** Forgets everything; nothing is emitted afterwards. */
    void stop();
    bool isRunning() const { return m_isRunning; }

signals:
    void happened(const tq::ServiceTable::Event& event);

private:
    struct Browser
    {
        ServiceWatch* watch;
        ServiceType type;
        AvahiServiceBrowser* browser = nullptr;
        bool hasShownAll = false; ///< or cannot
    };

    static void stateChanged(AvahiClient* client, AvahiClientState state, void* watch);
    static void browsed(AvahiServiceBrowser* browser, AvahiIfIndex interface,
        AvahiProtocol protocol, AvahiBrowserEvent event, const char* name, const char* type,
        const char* domain, AvahiLookupResultFlags flags, void* browserOfWatch);
    void open();
    void close();
    void lose(const QString& reason, qint64 waited);
    void retryIn(qint64 pause, qint64 waited);
    bool isHanging() const;
    void complain(const QString& reason);
    void work();
    void followState();
    void browse();
    void browseFurther();
    void browse(Browser& browser);
    void endBrowser(Browser& browser);
    void announced(const Announcement& announcement, EServiceKind kind);
    void withdrawn(const Announcement& announcement);
    void deliver();
    void plan(bool isMore);

    EventLoopPoll m_poll;
    AvahiClient* m_client = nullptr;
    AvahiClientState m_state = AVAHI_CLIENT_CONNECTING;
    std::list<Browser> m_browsers; ///< of one run; they stand still, for Avahi points to them
    ServiceTable m_table;
    ResolverPool m_pool;
    QElapsedTimer m_clock;
    QTimer m_workTimer;
    QTimer m_retryTimer;
    QTimer m_graceTimer;
    bool m_isRunning = false;
    bool m_isBrowsing = false;
    bool m_hasComplained = false;
    bool m_isFull = false; ///< and said so
    qint64 m_waited = 0; ///< ms that opening the client took
    int m_run = 0; ///< counts starts and stops
};

} // namespace tq
