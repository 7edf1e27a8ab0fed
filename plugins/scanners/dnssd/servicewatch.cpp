// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/dnssd/servicewatch_p.h"

#include "platform/logline.h"

#include <QPointer>

#include <algorithm>

#include <avahi-common/error.h>

namespace tq {

namespace {

constexpr int k_workInterval = 250; ///< ms
constexpr qint64 k_retryPause = 1000; ///< ms
constexpr qint64 k_renewPause = 10000; ///< ms; for a client that waits for a daemon
constexpr qint64 k_waitFactor = 4; ///< a pause is at least so many times what was waited before it
constexpr int k_graceTime = 10000; ///< ms; how long services have to be announced again

QString reasonOf(int error)
{
    return QString::fromUtf8(avahi_strerror(error));
}

} // namespace

ServiceWatch::ServiceWatch(QObject* parent)
    : QObject(parent)
    , m_pool([this](const Announcement& announcement, const Resolution& resolution) {
        m_table.resolve(announcement, resolution, m_clock.elapsed());
        plan(false);
    })
{
    for (QTimer* timer : { &m_workTimer, &m_retryTimer, &m_graceTimer })
        timer->setSingleShot(true);
    QObject::connect(&m_workTimer, &QTimer::timeout, this, &ServiceWatch::work);
    QObject::connect(&m_retryTimer, &QTimer::timeout, this, &ServiceWatch::open);
    QObject::connect(&m_graceTimer, &QTimer::timeout, this, [this] {
        m_table.withdrawDoubted(m_clock.elapsed());
        plan(true);
    });
}

ServiceWatch::~ServiceWatch()
{
    close();
}

void ServiceWatch::start(const QList<ServiceType>& types)
{
    stop();
    m_isRunning = true;
    m_hasComplained = false;
    m_isFull = false;
    for (const ServiceType& type : types)
        m_browsers.push_back({ this, type });
    m_clock.start();
    open();
}

void ServiceWatch::stop()
{
    ++m_run;
    m_isRunning = false;
    close();
    m_browsers.clear();
    m_table = ServiceTable();
    for (QTimer* timer : { &m_workTimer, &m_retryTimer, &m_graceTimer })
        timer->stop();
}

// -- The connection ------------------------------------------------------------------------------

void ServiceWatch::open()
{
    close();
    int error = 0;
    QElapsedTimer timer;
    timer.start();
    m_state = AVAHI_CLIENT_CONNECTING;
    // Without a daemon such a client waits for one. Without a message bus there is no client.
    m_client = avahi_client_new(
        m_poll.api(), AVAHI_CLIENT_NO_FAIL, &ServiceWatch::stateChanged, this, &error);
    m_waited = timer.elapsed();
    if (!m_client)
        lose(reasonOf(error), m_waited);
}

void ServiceWatch::close()
{
    m_isBrowsing = false;
    m_pool.clear();
    for (Browser& browser : m_browsers)
        browser.browser = nullptr;
    // Ends its browsers and resolvers as well, at once, while it would ask the daemon for each.
    if (m_client)
        avahi_client_free(std::exchange(m_client, nullptr));
}

void ServiceWatch::stateChanged(AvahiClient*, AvahiClientState state, void* watch)
{
    // The client may not be ended from here, nor is it made yet the first time.
    auto* const self = static_cast<ServiceWatch*>(watch);
    self->m_state = state;
    self->plan(true);
}

void ServiceWatch::followState()
{
    switch (m_state) {
    case AVAHI_CLIENT_FAILURE:
        return lose(reasonOf(avahi_client_errno(m_client)), 0);
    case AVAHI_CLIENT_CONNECTING:
        complain(reasonOf(AVAHI_ERR_NO_DAEMON));
        // It notices a daemon that comes, but not one that was there and did not answer.
        if (!m_retryTimer.isActive())
            retryIn(k_renewPause, m_waited);
        break;
    default:
        if (!m_isBrowsing)
            browse();
    }
}

void ServiceWatch::lose(const QString& reason, qint64 waited)
{
    complain(reason);
    close();
    m_graceTimer.stop();
    m_table.doubtAll();
    retryIn(k_retryPause, waited);
}

void ServiceWatch::retryIn(qint64 pause, qint64 waited)
{
    m_retryTimer.start(int(std::max(pause, k_waitFactor * waited)));
}

bool ServiceWatch::isHanging() const
{
    return m_client && avahi_client_errno(m_client) == AVAHI_ERR_DBUS_ERROR;
}

void ServiceWatch::complain(const QString& reason)
{
    if (!std::exchange(m_hasComplained, true))
        logLine(Log::eSurvived, "DNS-SD waits for the Avahi daemon: ", reason);
}

// -- Browsing ------------------------------------------------------------------------------------

void ServiceWatch::browse()
{
    m_isBrowsing = true;
    m_retryTimer.stop();
    if (std::exchange(m_hasComplained, false))
        logLine(Log::eProgress, "DNS-SD has found the Avahi daemon");
    for (Browser& browser : m_browsers) {
        browser.hasShownAll = false;
        if (browser.type.kind != eUnknownServiceKind && !isHanging())
            browse(browser);
    }
    if (!m_table.isEmpty())
        m_graceTimer.start(k_graceTime);
}

void ServiceWatch::browseFurther()
{
    const bool hasShownKnown =
        std::all_of(m_browsers.cbegin(), m_browsers.cend(), [](const Browser& browser) {
            return browser.hasShownAll || browser.type.kind == eUnknownServiceKind;
        });
    if (!hasShownKnown)
        return;
    for (Browser& browser : m_browsers) {
        if (!browser.browser && !browser.hasShownAll && !isHanging())
            browse(browser);
    }
}

void ServiceWatch::browse(Browser& browser)
{
    browser.browser = avahi_service_browser_new(m_client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
        browser.type.name.toUtf8().constData(), nullptr, AvahiLookupFlags(0),
        &ServiceWatch::browsed, &browser);
    if (!browser.browser)
        endBrowser(browser);
}

void ServiceWatch::endBrowser(Browser& browser)
{
    // When the connection is lost that is said elsewhere.
    if (m_state != AVAHI_CLIENT_FAILURE && !isHanging())
        logLine(Log::eSurvived, "DNS-SD cannot look for ", browser.type.name, ": ",
            reasonOf(avahi_client_errno(m_client)));
    browser.hasShownAll = true;
    if (browser.browser)
        avahi_service_browser_free(std::exchange(browser.browser, nullptr));
}

void ServiceWatch::browsed(AvahiServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
    AvahiBrowserEvent event, const char* name, const char*, const char* domain,
    AvahiLookupResultFlags, void* browserOfWatch)
{
    Browser& browser = *static_cast<Browser*>(browserOfWatch);
    ServiceWatch& self = *browser.watch;
    const auto announcement = [&] {
        return Announcement{ { name, browser.type.name.toUtf8(), domain },
            { interface, protocol == AVAHI_PROTO_INET6 } };
    };
    switch (event) {
    case AVAHI_BROWSER_NEW:
        self.announced(announcement(), browser.type.kind);
        break;
    case AVAHI_BROWSER_REMOVE:
        self.withdrawn(announcement());
        break;
    case AVAHI_BROWSER_FAILURE:
        self.endBrowser(browser);
        break;
    case AVAHI_BROWSER_ALL_FOR_NOW:
        browser.hasShownAll = true;
        break;
    case AVAHI_BROWSER_CACHE_EXHAUSTED:
        return;
    }
    self.plan(true);
}

void ServiceWatch::announced(const Announcement& announcement, EServiceKind kind)
{
    if (m_table.announce(announcement, kind))
        m_pool.add(announcement, kind);
    else if (!std::exchange(m_isFull, true))
        logLine(Log::eSurvived, "DNS-SD follows ", ServiceTable::k_mostServices,
            " services, more are passed over");
}

void ServiceWatch::withdrawn(const Announcement& announcement)
{
    m_table.withdraw(announcement, m_clock.elapsed());
    m_pool.remove(announcement);
}

// -- The work between callbacks
// --------------------------------------------------------------------

void ServiceWatch::plan(bool isMore)
{
    const int interval = isMore ? 0 : k_workInterval;
    if (!m_workTimer.isActive() || m_workTimer.remainingTime() > interval)
        m_workTimer.start(interval);
}

void ServiceWatch::work()
{
    QElapsedTimer timer;
    timer.start();
    if (m_client)
        followState();
    bool isMore = false;
    if (m_isBrowsing) {
        browseFurther();
        isMore = !isHanging() && m_pool.openDue(m_client, m_clock.elapsed());
        if (isHanging())
            lose(reasonOf(AVAHI_ERR_DBUS_ERROR), timer.elapsed());
    }
    if (isMore || m_table.isWaiting() || m_pool.isWaiting())
        plan(isMore);
    m_table.advance(m_clock.elapsed());
    deliver();
}

void ServiceWatch::deliver()
{
    const QPointer<ServiceWatch> self(this);
    const int run = m_run;
    const QList<ServiceTable::Event> events = m_table.take();
    for (const ServiceTable::Event& event : events) {
        emit happened(event);
        if (!self || m_run != run)
            return;
    }
}

} // namespace tq
