// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/nasdevice/smbrelay_p.h"

#include <QNetworkProxy>
#include <QTcpSocket>

namespace tq {

namespace {

constexpr qint64 k_portion = 65536; ///< bytes that wait in each direction
constexpr int k_mostConnections = 8;

} // namespace

SmbRelay::SmbRelay(const QString& host, quint16 port, SmbTraffic& traffic)
    : m_host(host), m_port(port), m_traffic(traffic)
{
    QObject::connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* const local = m_server.nextPendingConnection())
            take(local);
    });
    m_server.setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    if (!m_server.listen(QHostAddress(QHostAddress::LocalHost)))
        m_failure = m_server.errorString();
}

SmbRelay::~SmbRelay()
{
    m_server.close();
    while (!m_pairs.isEmpty())
        cut(m_pairs.begin().key());
}

void SmbRelay::take(QTcpSocket* local)
{
    if (m_pairs.size() >= k_mostConnections) {
        m_traffic.brokenSession = m_traffic.session.load();
        local->abort();
        local->deleteLater();
        return;
    }
    auto* const remote = new QTcpSocket(local);
    // Whoever connects waits for an answer: it is the session of now.
    m_pairs.insert(local, { remote, false, m_traffic.session });
    local->setReadBufferSize(k_portion);
    remote->setReadBufferSize(k_portion);
    remote->setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    const auto send = [this, local, remote] { pump(local, remote); };
    const auto answer = [this, local, remote] { pump(remote, local); };
    const auto reach = [this, local, remote] {
        m_pairs[local].isReached = true;
        pump(local, remote);
    };
    QObject::connect(local, &QTcpSocket::readyRead, this, send);
    QObject::connect(remote, &QTcpSocket::bytesWritten, this, send);
    QObject::connect(remote, &QTcpSocket::connected, this, reach);
    QObject::connect(remote, &QTcpSocket::readyRead, this, answer);
    QObject::connect(local, &QTcpSocket::bytesWritten, this, answer);
    QObject::connect(local, &QTcpSocket::disconnected, this, [this, local] { cut(local); });
    // Queued: a refusal may come while we are still connecting.
    QObject::connect(
        remote, &QTcpSocket::errorOccurred, this, [this, local] { fail(local); },
        Qt::QueuedConnection);
    remote->connectToHost(m_host, m_port);
}

void SmbRelay::pump(QTcpSocket* from, QTcpSocket* to)
{
    if (to->state() != QTcpSocket::ConnectedState || to->bytesToWrite() >= k_portion)
        return;
    const QByteArray portion = from->read(k_portion);
    if (portion.isEmpty())
        return;
    to->write(portion);
    if (m_pairs.contains(to))
        count(to, portion.size());
}

void SmbRelay::count(QTcpSocket* local, qint64 bytes)
{
    m_traffic.answered += bytes;
    if (m_traffic.answered < k_mostAnswered)
        return;
    m_traffic.isTooMuch = true;
    cut(local);
}

void SmbRelay::fail(QTcpSocket* local)
{
    const Far far = m_pairs.value(local);
    if (!far.socket)
        return;
    m_traffic.brokenSession = far.session;
    if (!far.isReached)
        m_failure = far.socket->errorString();
    // What the server said before it hung up.
    pump(far.socket, local);
    local->flush();
    cut(local);
}

void SmbRelay::cut(QTcpSocket* local)
{
    QTcpSocket* const remote = m_pairs.take(local).socket;
    if (!remote)
        return;
    local->disconnect(this);
    remote->disconnect(this);
    local->abort();
    remote->abort();
    local->deleteLater(); // we may stand in its signal
}

} // namespace tq
