// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/arp/arpscanner.h"

#include "scanners/arp/neighbourwatch_p.h"
#include "scanners/arp/subnetsweep_p.h"

#include "discovery/nodehintfromarp.h"

#include <QNetworkInterface>

namespace tq {

namespace {

constexpr int k_defaultPace = 250; ///< datagrams per second
constexpr int k_highestPace = 10000;

/** The usual text of an address; a link-local one names its interface. */
QString textOf(QHostAddress address)
{
    bool hasNumber = false;
    const int interfaceIndex = address.scopeId().toInt(&hasNumber);
    const QString interface =
        hasNumber ? QNetworkInterface::interfaceNameFromIndex(interfaceIndex) : QString();
    if (!interface.isEmpty())
        address.setScopeId(interface);
    return address.toString();
}

} // namespace

ArpScanner::ArpScanner()
    : m_watch(std::make_unique<NeighbourWatch>()), m_sweep(std::make_unique<SubnetSweep>())
{
    const auto tell = [this](const NeighbourTable::Event& event) {
        const NodeHintFromARP hint(textOf(event.address), event.mac);
        report<NeighbourTable>(event.kind, hint);
    };
    QObject::connect(m_watch.get(), &NeighbourWatch::happened, this, tell);
}

ArpScanner::~ArpScanner() = default;

void ArpScanner::start(unsigned int argument, int datagramsPerSecond)
{
    if (!m_watch->isRunning() && !m_watch->start())
        return;
    if ((argument & eSweep) != 0) {
        m_watch->confirm();
        const bool isGiven = datagramsPerSecond > 0;
        m_sweep->start(isGiven ? qMin(datagramsPerSecond, k_highestPace) : k_defaultPace);
    }
}

void ArpScanner::stop()
{
    m_sweep->stop();
    m_watch->stop();
}

bool ArpScanner::isRunning() const
{
    return m_watch->isRunning();
}

QString ArpScanner::scannerName() const
{
    return QStringLiteral("arp");
}

} // namespace tq
