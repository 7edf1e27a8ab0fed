// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/wsdiscovery/wssockets_p.h"

#include "platform/logline.h"

#include <QPointer>
#include <QRandomGenerator>
#include <QTimer>
#include <QUdpSocket>
#include <QVariant>

#include <utility>

namespace tq {

namespace {

const QHostAddress k_group(QStringLiteral("239.255.255.250"));
constexpr int k_hops = 1;
constexpr int k_datagramsAtOnce = 16; ///< other events come to their turn as well
constexpr int k_leastDelay = 50; ///< ms; of the standard, for repeating a multicast message
constexpr int k_mostDelay = 250;

QNetworkAddressEntry ipv4Of(const QNetworkInterface& interface)
{
    const auto entries = interface.addressEntries();
    for (const QNetworkAddressEntry& entry : entries) {
        if (entry.ip().protocol() == QAbstractSocket::IPv4Protocol)
            return entry;
    }
    return {};
}

} // namespace

WsSockets::WsSockets(quint16 port) : m_port(port) { }

WsSockets::~WsSockets()
{
    close();
}

bool WsSockets::open(const QStringList& interfaces)
{
    close();
    m_names = interfaces;
    m_ear = makeSocket();
    const auto shared = QUdpSocket::ShareAddress | QUdpSocket::ReuseAddressHint;
    if (m_ear->bind(QHostAddress::AnyIPv4, m_port, shared))
        return true;
    logLine(Log::eSurvived, "WS-Discovery: port ", m_port,
        " cannot be listened to: ", m_ear->errorString());
    drop(std::exchange(m_ear, nullptr));
    return false;
}

void WsSockets::close()
{
    ++m_opening;
    for (const auto& [address, voice] : m_voices)
        drop(voice.socket);
    m_voices.clear();
    m_subnets.clear();
    if (m_ear)
        drop(std::exchange(m_ear, nullptr));
}

QUdpSocket* WsSockets::makeSocket()
{
    auto* const socket = new QUdpSocket;
    QObject::connect(socket, &QUdpSocket::readyRead, this, [this, socket] { read(socket); });
    return socket;
}

void WsSockets::drop(QUdpSocket* socket)
{
    QObject::disconnect(socket, nullptr, this, nullptr);
    socket->close();
    socket->deleteLater(); // we may stand in its signal, on our way out
}

bool WsSockets::isFit(const QNetworkInterface& interface) const
{
    const auto flags = interface.flags();
    if (!flags.testFlag(QNetworkInterface::IsUp) || !flags.testFlag(QNetworkInterface::IsRunning))
        return false;
    if (!m_names.isEmpty())
        return m_names.contains(interface.name());
    return flags.testFlag(QNetworkInterface::CanMulticast)
        && !flags.testFlag(QNetworkInterface::IsLoopBack)
        && !flags.testFlag(QNetworkInterface::IsPointToPoint);
}

bool WsSockets::refresh()
{
    if (!m_ear)
        return false;
    auto old = m_voices;
    bool hasGrown = false;
    m_subnets.clear();
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& interface : interfaces) {
        const QHostAddress address = ipv4Of(interface).ip();
        if (address.isNull() || !isFit(interface))
            continue;
        const auto entries = interface.addressEntries();
        for (const QNetworkAddressEntry& entry : entries)
            m_subnets.append({ entry.ip(), entry.prefixLength() });
        const auto known = old.find(address.toString());
        const bool isKnown =
            known != old.end() && known->second.interface.index() == interface.index();
        if (isKnown) {
            old.erase(known);
            continue;
        }
        remove(address);
        old.erase(address.toString());
        add(interface, address);
        hasGrown = true;
    }
    for (const auto& [address, voice] : old)
        remove(QHostAddress(address));
    return hasGrown;
}

void WsSockets::add(const QNetworkInterface& interface, const QHostAddress& address)
{
    Voice voice{ interface, makeSocket(), false };
    const bool isReady = voice.socket->bind(address, 0);
    if (isReady) {
        voice.socket->setMulticastInterface(interface);
        voice.socket->setSocketOption(QAbstractSocket::MulticastTtlOption, k_hops);
    }
    // One who was connected anew has left the group with the old interface, or is still in it.
    m_ear->leaveMulticastGroup(k_group, interface);
    if (!isReady || !m_ear->joinMulticastGroup(k_group, interface)) {
        logLine(Log::eSurvived, "WS-Discovery: ", interface.name(), " cannot be used as wanted: ",
            isReady ? m_ear->errorString() : voice.socket->errorString());
        voice.hasFailed = true;
    }
    m_voices.emplace(address.toString(), voice);
}

void WsSockets::remove(const QHostAddress& address)
{
    const auto found = m_voices.find(address.toString());
    if (found == m_voices.end())
        return;
    m_ear->leaveMulticastGroup(k_group, found->second.interface);
    drop(found->second.socket);
    m_voices.erase(found);
}

void WsSockets::send(const QByteArray& message)
{
    sendNow(message);
    const int delay = QRandomGenerator::global()->bounded(k_leastDelay, k_mostDelay);
    QTimer::singleShot(delay, this, [this, message, opening = m_opening] {
        if (opening == m_opening)
            sendNow(message);
    });
}

void WsSockets::sendNow(const QByteArray& message)
{
    for (auto& [address, voice] : m_voices) {
        const bool hasFailed = voice.socket->writeDatagram(message, k_group, m_port) < 0;
        if (hasFailed && !std::exchange(voice.hasFailed, true))
            logLine(Log::eSurvived, "WS-Discovery: nothing can be sent on ", voice.interface.name(),
                ": ", voice.socket->errorString());
    }
}

void WsSockets::read(QUdpSocket* socket)
{
    const QPointer<QUdpSocket> alive(socket);
    int count = 0;
    // One is read in any case: a socket that was not read from says nothing any more.
    do {
        const QNetworkDatagram datagram = socket->receiveDatagram();
        if (!datagram.isValid())
            return;
        const bool isToGroup = socket == m_ear && datagram.destinationAddress() == k_group;
        if (isToGroup || socket != m_ear)
            emit received(datagram, isToGroup);
    } while (alive && socket->state() == QUdpSocket::BoundState && ++count < k_datagramsAtOnce
        && socket->hasPendingDatagrams());
}

} // namespace tq
