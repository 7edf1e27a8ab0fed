// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/arp/discardport_p.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTimer>

namespace tq {

/**
 * Makes the kernel ask for every address of the local IPv4 subnets, again and again.
 *
 * The first pass keeps the pace that is asked for. Those after it keep to 50 datagrams per second
 * at most; between two of them there is a pause of 60 s, then of twice as long each time, up to
 * 8 minutes. So a /24 is swept in 5 s, 65 s later, and every 8 minutes in the end.
 *
 * Subnets are those of interfaces that are up and neither loopback nor point to point; one larger
 * than a /20 is passed over with a level 2 log line.
 */
class SubnetSweep : public QObject
{
    Q_OBJECT

public:
    /** The hosts of one subnet, as numbers. */
    struct Range
    {
        quint32 first = 0;
        quint32 last = 0;
        quint32 own = 0; ///< not asked for
        bool operator==(const Range&) const = default;
    };

    /** Returns the hosts of the subnet of `own`; an empty range (first > last) when it has none. */
    static Range hosts(quint32 own, int prefixLength);

    static constexpr int k_firstPause = 60000; ///< ms

    /** `firstPause` is that between the first two passes, in ms. */
    explicit SubnetSweep(int firstPause = k_firstPause, QObject* parent = nullptr);

    /** Starts over, with so many datagrams per second in the first pass. */
    void start(int perSecond);
    void stop();

private:
    void beginPass();
    void endPass();
    void collectRanges();
    void sendDue();

    DiscardPort m_port;
    QTimer m_timer;
    QTimer m_pauseTimer;
    int m_firstPause;
    int m_passes = 0; ///< ended since start()
    QElapsedTimer m_clock;
    QList<Range> m_ranges;
    qsizetype m_range = 0;
    quint64 m_next = 0;
    qint64 m_credit = 0; ///< thousandths of a datagram
    int m_perSecond = 0;
};

} // namespace tq
