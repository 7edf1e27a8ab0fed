// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/dnssd/servicerecord_p.h"

#include <deque>
#include <map>
#include <optional>
#include <utility>

namespace tq {

/**
 * Turns announcements and what is behind them into services that come, change and go.
 *
 * A service is a name, type and domain: the interfaces and IP versions that it is announced over
 * are one service, whose address is an IPv4 one where there is any. It is new when it was first
 * resolved, changed when its host, port, texts or address did, and gone when its last announcement
 * is. A second address is reported with the service and is no change by itself. What belongs
 * together comes in pieces: they are put together for half a second before anything is reported.
 *
 * Knows neither Avahi's daemon nor clocks: times are monotonic ms.
 */
class ServiceTable
{
public:
    static constexpr std::size_t k_mostServices = 4096;

    enum EEvent { eNew, eChanged, eGone };

    struct Event
    {
        EEvent kind;
        SServiceInfo info; ///< for eGone as it was reported, not available any more
    };

    /** Takes an announcement. Returns false, taking none, when there are k_mostServices others. */
    bool announce(const Announcement& announcement, EServiceKind kind);
    void withdraw(const Announcement& announcement, qint64 now);

    /** Takes what is behind an announcement; one that is not known is passed over. */
    void resolve(const Announcement& announcement, const Resolution& resolution, qint64 now);

    /** From now on nobody vouches for what is announced, until it is announced again. */
    void doubtAll();

    /** Withdraws what is still in doubt. */
    void withdrawDoubted(qint64 now);

    /** Decides what was waiting for time to pass; called now and then while isWaiting(). */
    void advance(qint64 now);
    bool isWaiting() const { return !m_unsettled.empty(); }
    bool isEmpty() const { return m_services.empty(); }

    /** Returns what there is to tell since the last call. */
    QList<Event> take() { return std::exchange(m_events, {}); }

private:
    struct Line
    {
        bool isDoubted = false;
        std::optional<Resolution> resolution;
        QList<QHostAddress> addresses; ///< all that were told since the service settled
    };

    struct Report
    {
        int interfaceIndex = 0;
        Resolution resolution;
        QHostAddress second;
    };

    struct Service
    {
        EServiceKind kind = eUnknownServiceKind;
        std::map<ServicePlace, Line> lines;
        std::optional<Report> report;
        bool isUnsettled = false;
    };

    using Services = std::map<ServiceKey, Service>;

    static bool isStillTold(const Service& service, const QHostAddress& address);
    static std::optional<Report> reportOf(const Service& service);
    void unsettle(Services::value_type& entry, qint64 now);
    void settle(Services::value_type& entry);
    Services::iterator withdraw(Services::iterator entry, const ServicePlace& place, qint64 now);
    void tell(EEvent kind, const Services::value_type& entry);

    Services m_services;
    std::deque<std::pair<qint64, ServiceKey>> m_unsettled; ///< until when, in order
    QList<Event> m_events;
};

} // namespace tq
