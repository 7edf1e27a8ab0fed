// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/wsdiscovery/serviceplace_p.h"

#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QObject>

#include <map>
#include <utility>

class QUdpSocket;

namespace tq {

/**
 * Speaks on every IPv4 network of this machine to the group of WS-Discovery, one hop far.
 *
 * Its interfaces are those that are up, take part in multicast and are neither loopback nor point
 * to point; or those that are named, whatever they are. Reading leaves other events their turns,
 * however much is sent.
 */
class WsSockets : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 k_port = 3702;

    /** Tests have a port of their own. */
    explicit WsSockets(quint16 port);
    ~WsSockets() override;

    /** Begins to listen, on no interface yet: `interfaces` are names, none means all that are fit.
     * Returns whether it could; a refusal is logged at level 2. */
    [[nodiscard]] bool open(const QStringList& interfaces);

    /** Nothing is sent and emitted afterwards. */
    void close();

    /** Follows the machine's interfaces as they are now. Returns whether there are new ones. */
    bool refresh();

    /** Sends to the group on every interface, and once more after a moment: datagrams get lost. */
    void send(const QByteArray& message);

    /** Returns the networks of the interfaces. */
    QList<Subnet> subnets() const { return m_subnets; }

signals:
    /** A datagram came: sent to the group, or to the place that messages are sent from. */
    void received(const QNetworkDatagram& datagram, bool isToGroup);

private:
    /** An interface by its index, and its address: neither alone tells a change of the other. */
    using Place = std::pair<int, QString>;

    struct Voice
    {
        QNetworkInterface interface;
        QUdpSocket* socket = nullptr; ///< owned
        bool hasFailed = false;
    };

    bool isFit(const QNetworkInterface& interface) const;
    void add(const Place& place, const QNetworkInterface& interface);
    void remove(const Place& place);
    void sendNow(const QByteArray& message);
    void read(QUdpSocket* socket);
    QUdpSocket* makeSocket();
    void drop(QUdpSocket* socket);

    QStringList m_names;
    quint16 m_port;
    QUdpSocket* m_ear = nullptr; ///< owned
    std::map<Place, Voice> m_voices;
    QList<Subnet> m_subnets;
    int m_opening = 0; ///< grows when it is closed: what was to be repeated is not
};

} // namespace tq
