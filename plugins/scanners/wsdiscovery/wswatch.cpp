// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/wsdiscovery/wswatch_p.h"

#include "platform/logline.h"

#include <QPointer>

namespace tq {

namespace {

constexpr int k_interfaceInterval = 5000; ///< ms
constexpr int k_questionInterval = 200; ///< ms
constexpr int k_questionsAtOnce = 8;
constexpr qsizetype k_probesKept = 8;
constexpr qsizetype k_resolvesKept = 256;
constexpr int k_thousand = 1000;

} // namespace

WsWatch::WsWatch(quint16 port) : m_sockets(port)
{
    m_soonTimer.setSingleShot(true);
    m_interfaceTimer.setInterval(k_interfaceInterval);
    m_questionTimer.setInterval(k_questionInterval);
    QObject::connect(&m_soonTimer, &QTimer::timeout, this, [this] { follow(true); });
    QObject::connect(&m_probeTimer, &QTimer::timeout, this, [this] { follow(true); });
    QObject::connect(&m_interfaceTimer, &QTimer::timeout, this, [this] { follow(false); });
    QObject::connect(&m_questionTimer, &QTimer::timeout, this, &WsWatch::sendQuestions);
    QObject::connect(&m_sockets, &WsSockets::received, this, &WsWatch::receive);
}

WsWatch::~WsWatch()
{
    stop();
}

bool WsWatch::start(const QStringList& interfaces)
{
    stop();
    m_isRunning = m_sockets.open(interfaces);
    m_clock.start();
    return m_isRunning;
}

void WsWatch::probe(int seconds)
{
    if (!m_isRunning)
        return;
    m_soonTimer.start(0);
    m_interfaceTimer.start();
    if (seconds > 0)
        m_probeTimer.start(seconds * k_thousand);
    else
        m_probeTimer.stop();
}

void WsWatch::stop()
{
    ++m_run;
    m_isRunning = false;
    for (QTimer* const timer : { &m_soonTimer, &m_probeTimer, &m_interfaceTimer, &m_questionTimer })
        timer->stop();
    m_sockets.close();
    m_table = DeviceTable();
    m_ignored.clear();
    m_probes.clear();
    m_resolves.clear();
}

void WsWatch::follow(bool isAsked)
{
    const bool hasGrown = m_sockets.refresh();
    m_table.setSubnets(m_sockets.subnets());
    if (isAsked || hasGrown)
        sendProbes();
}

// One question for both kinds would ask for devices that are both; one for no kind at all is
// answered by few.
void WsWatch::sendProbes()
{
    for (const EWsType type : { EWsType::eNetworkVideoTransmitter, EWsType::eDevice }) {
        m_probes.append(newWsMessageId());
        m_sockets.send(wsProbe(m_probes.last(), type));
    }
    while (m_probes.size() > k_probesKept)
        m_probes.removeFirst();
}

void WsWatch::sendQuestions()
{
    const qint64 now = m_clock.elapsed();
    m_table.advance(now);
    const QStringList endpoints = m_table.takeQuestions(k_questionsAtOnce, now);
    for (const QString& endpoint : endpoints) {
        m_resolves.append({ newWsMessageId(), endpoint });
        m_sockets.send(wsResolve(m_resolves.last().first, endpoint));
    }
    while (m_resolves.size() > k_resolvesKept)
        m_resolves.removeFirst();
    deliver();
}

void WsWatch::receive(const QNetworkDatagram& datagram, bool isToGroup)
{
    const QHostAddress sender = datagram.senderAddress();
    QString error;
    const auto message = readWsMessage(datagram.data(), error);
    if (!message)
        m_ignored.add("a message that cannot be read", sender, error);
    else if (const char* const reason = take(*message, sender, isToGroup))
        m_ignored.add(reason, sender);
    deliver();
}

const char* WsWatch::take(const WsMessage& message, const QHostAddress& sender, bool isToGroup)
{
    switch (message.kind) {
    case WsMessage::eHello:
        return isToGroup ? feed(message, sender) : "an announcement to us alone";
    case WsMessage::eBye:
        if (!isToGroup || message.devices.isEmpty())
            return isToGroup ? nullptr : "an announcement to us alone";
        return m_table.dismiss(message.devices.first().endpoint, sender, m_clock.elapsed());
    case WsMessage::eProbeMatches:
    case WsMessage::eResolveMatches:
        return isAnswer(message) ? feed(message, sender) : "an answer that was not asked for";
    case WsMessage::eOther:
        break;
    }
    return nullptr;
}

bool WsWatch::isAnswer(const WsMessage& message) const
{
    if (message.kind == WsMessage::eProbeMatches)
        return m_probes.contains(message.relatesTo);
    return message.devices.size() == 1
        && m_resolves.contains({ message.relatesTo, message.devices.first().endpoint });
}

const char* WsWatch::feed(const WsMessage& message, const QHostAddress& sender)
{
    const QList<WsDevice>& devices = message.devices;
    const DeviceTable::Sender source{ sender, devices.size() == 1,
        message.kind == WsMessage::eProbeMatches };
    const char* reason = devices.isEmpty() ? "a device without a sound endpoint" : nullptr;
    for (const WsDevice& device : devices) {
        if (const char* const refusal = m_table.feed(device, source, m_clock.elapsed()))
            reason = refusal;
    }
    return reason;
}

void WsWatch::deliver()
{
    const QPointer<WsWatch> self(this);
    const int run = m_run;
    const QList<DeviceTable::Event> events = m_table.takeEvents();
    for (const DeviceTable::Event& event : events) {
        emit happened(event);
        if (!self || m_run != run)
            return;
    }
    if (!m_table.isWaiting())
        m_questionTimer.stop();
    else if (!m_questionTimer.isActive())
        m_questionTimer.start();
}

} // namespace tq
