// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/arp/subnetsweep_p.h"

#include "platform/logline.h"

#include <QNetworkInterface>

namespace tq {

namespace {

constexpr int k_tick = 20; ///< ms
constexpr qint64 k_longestDelay = 100; ///< ms
constexpr int k_calmPace = 50; ///< datagrams per second, after the first pass
constexpr int k_mostDoublings = 3; ///< of the pause between two passes
constexpr qint64 k_whole = 1000; ///< the credit that one datagram costs
constexpr int k_largest = 20; ///< prefix length
constexpr int k_bits = 32;

bool isSwept(const QNetworkInterface& interface)
{
    const auto flags = interface.flags();
    return flags.testFlag(QNetworkInterface::IsUp) && flags.testFlag(QNetworkInterface::IsRunning)
        && !flags.testFlag(QNetworkInterface::IsLoopBack)
        && !flags.testFlag(QNetworkInterface::IsPointToPoint);
}

} // namespace

SubnetSweep::Range SubnetSweep::hosts(quint32 own, int prefixLength)
{
    if (prefixLength < k_largest || prefixLength >= k_bits)
        return { 1, 0, own };
    const quint32 hostBits = (quint32(1) << (k_bits - prefixLength)) - 1;
    const quint32 network = own & ~hostBits;
    if (hostBits == 1) // two hosts, no address of the network and none for broadcasts
        return { network, network + 1, own };
    return { network + 1, network + hostBits - 1, own };
}

SubnetSweep::SubnetSweep(int firstPause, QObject* parent)
    : QObject(parent), m_firstPause(firstPause)
{
    m_pauseTimer.setSingleShot(true);
    QObject::connect(&m_pauseTimer, &QTimer::timeout, this, &SubnetSweep::beginPass);
    m_timer.setInterval(k_tick);
    QObject::connect(&m_timer, &QTimer::timeout, this, &SubnetSweep::sendDue);
}

void SubnetSweep::start(int perSecond)
{
    stop();
    m_perSecond = perSecond;
    m_passes = 0;
    beginPass();
}

void SubnetSweep::stop()
{
    m_timer.stop();
    m_pauseTimer.stop();
}

void SubnetSweep::beginPass()
{
    m_range = 0;
    m_credit = 0;
    collectRanges();
    m_next = m_ranges.isEmpty() ? 0 : m_ranges.first().first;
    m_clock.start();
    m_timer.start();
}

void SubnetSweep::endPass()
{
    m_timer.stop();
    m_pauseTimer.start(m_firstPause << qMin(m_passes++, k_mostDoublings));
    m_perSecond = qMin(m_perSecond, k_calmPace);
}

void SubnetSweep::collectRanges()
{
    m_ranges.clear();
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& interface : interfaces) {
        if (!isSwept(interface))
            continue;
        const auto entries = interface.addressEntries();
        for (const QNetworkAddressEntry& entry : entries) {
            if (entry.ip().protocol() != QAbstractSocket::IPv4Protocol)
                continue;
            const Range range = hosts(entry.ip().toIPv4Address(), entry.prefixLength());
            if (entry.prefixLength() < k_largest && m_passes == 0)
                logLine(Log::eSurvived, "Subnet too large to be swept: ", entry.ip().toString(),
                    "/", entry.prefixLength());
            else if (range.first <= range.last && !m_ranges.contains(range))
                m_ranges.append(range);
        }
    }
}

void SubnetSweep::sendDue()
{
    // What was missed in a longer pause is not made up for in one burst.
    const qint64 elapsed = qMin(m_clock.restart(), k_longestDelay);
    m_credit = qMin(m_credit, k_whole) + elapsed * m_perSecond;
    while (m_range < m_ranges.size()) {
        const Range& range = m_ranges.at(m_range);
        if (m_next > range.last) {
            if (++m_range < m_ranges.size())
                m_next = m_ranges.at(m_range).first;
            continue;
        }
        if (m_credit < k_whole)
            return;
        if (m_next != range.own && !m_port.send(QHostAddress(quint32(m_next))))
            return;
        ++m_next;
        m_credit -= k_whole;
    }
    endPass();
}

} // namespace tq
