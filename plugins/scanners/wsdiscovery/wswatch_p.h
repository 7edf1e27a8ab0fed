// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/wsdiscovery/devicetable_p.h"
#include "scanners/wsdiscovery/ignoredmessages_p.h"
#include "scanners/wsdiscovery/wssockets_p.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <utility>

namespace tq {

/**
 * Follows the devices that speak WS-Discovery, on the thread that starts it and without blocking
 * it: asks all to show themselves, listens to those that come and go, and asks for the addresses of
 * those that did not tell. Only answers to its own questions count.
 */
class WsWatch : public QObject
{
    Q_OBJECT

public:
    explicit WsWatch(quint16 port = WsSockets::k_port);
    ~WsWatch() override;

    /** Listens on the interfaces as WsSockets::open() says. Asks nothing, and hears only what is
     * said after the first question. */
    [[nodiscard]] bool start(const QStringList& interfaces);

    /** Asks soon, not from here; and then every so many seconds, unless 0. */
    void probe(int seconds);

    /** Forgets everything; nothing is emitted afterwards. */
    void stop();
    bool isRunning() const { return m_isRunning; }

    /** Returns how many messages were of no use. */
    int ignored() const { return m_ignored.count(); }

signals:
    void happened(const tq::DeviceTable::Event& event);

private:
    void follow(bool isAsked);
    void sendProbes();
    void sendQuestions();
    void receive(const QNetworkDatagram& datagram, bool isToGroup);
    const char* take(const WsMessage& message, const QHostAddress& sender, bool isToGroup);
    const char* feed(const WsMessage& message, const QHostAddress& sender);
    bool isAnswer(const WsMessage& message) const;
    void deliver();

    WsSockets m_sockets;
    DeviceTable m_table;
    IgnoredMessages m_ignored;
    QElapsedTimer m_clock;
    QTimer m_soonTimer;
    QTimer m_probeTimer;
    QTimer m_interfaceTimer;
    QTimer m_questionTimer;
    QStringList m_probes; ///< ids of the last ones
    QList<std::pair<QString, QString>> m_resolves; ///< ids and endpoints of the last ones
    bool m_isRunning = false;
    int m_run = 0; ///< counts starts and stops
};

} // namespace tq
