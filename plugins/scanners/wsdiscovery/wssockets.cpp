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

#include <netinet/in.h>
#include <sys/socket.h>

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

/** Sets an option of the group for the interface of that index. Qt itself would name it by its
 * address, which others may have as well, and which may have changed since. */
bool setGroup(const QUdpSocket& socket, int option, int index)
{
    ip_mreqn request{};
    request.imr_multiaddr.s_addr = htonl(k_group.toIPv4Address());
    request.imr_ifindex = index;
    const auto descriptor = int(socket.socketDescriptor());
    return ::setsockopt(descriptor, IPPROTO_IP, option, &request, sizeof(request)) == 0;
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
    for (const auto& [place, voice] : m_voices)
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
    std::map<Place, QNetworkInterface> places;
    m_subnets.clear();
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& interface : interfaces) {
        const QHostAddress address = ipv4Of(interface).ip();
        if (address.isNull() || !isFit(interface))
            continue;
        const auto entries = interface.addressEntries();
        for (const QNetworkAddressEntry& entry : entries)
            m_subnets.append({ entry.ip(), entry.prefixLength() });
        places.emplace(Place(interface.index(), address.toString()), interface);
    }
    // What has gone goes first: an interface is in the group once, whatever its address.
    for (auto next = m_voices.begin(); next != m_voices.end();) {
        const auto current = next++;
        if (places.erase(current->first) == 0)
            remove(current->first);
    }
    for (const auto& [place, interface] : places)
        add(place, interface);
    return !places.empty();
}

void WsSockets::add(const Place& place, const QNetworkInterface& interface)
{
    Voice voice{ interface, makeSocket(), false };
    const bool isReady = voice.socket->bind(QHostAddress(place.second), 0);
    if (!isReady || !setGroup(*voice.socket, IP_MULTICAST_IF, place.first)
        || !setGroup(*m_ear, IP_ADD_MEMBERSHIP, place.first)) {
        const QString reason = isReady ? qt_error_string() : voice.socket->errorString();
        logLine(Log::eSurvived, "WS-Discovery: ", interface.name(),
            " cannot be used as wanted: ", reason);
        voice.hasFailed = true;
    }
    voice.socket->setSocketOption(QAbstractSocket::MulticastTtlOption, k_hops);
    m_voices.emplace(place, voice);
}

void WsSockets::remove(const Place& place)
{
    const auto found = m_voices.find(place);
    setGroup(*m_ear, IP_DROP_MEMBERSHIP, place.first);
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
    for (auto& [place, voice] : m_voices) {
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
