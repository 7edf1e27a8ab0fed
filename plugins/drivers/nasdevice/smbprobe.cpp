// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/nasdevice/smbprobe_p.h"

#include "drivers/nasdevice/smbnegotiation_p.h"
#include "parts/proberejections.h"

#include <QNetworkProxy>

namespace tq {

namespace {

constexpr int k_deadline = 2000; ///< ms
constexpr qint64 k_longest = 4096; ///< bytes

} // namespace

SmbProbe::SmbProbe(const QString& host, quint16 port, QObject* parent)
    : QObject(parent), m_host(host), m_port(port)
{
    m_deadline.setSingleShot(true);
    m_socket.setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    m_socket.setReadBufferSize(k_longest);
    QObject::connect(&m_deadline, &QTimer::timeout, this, [this] { finish(false); });
    QObject::connect(&m_socket, &QTcpSocket::connected, this,
        [this] { m_socket.write(smbnegotiation::request()); });
    QObject::connect(&m_socket, &QTcpSocket::readyRead, this, &SmbProbe::judge);
    // Queued: a refusal may come while we are still connecting.
    const auto fail = [this] { finish(false); };
    QObject::connect(&m_socket, &QTcpSocket::errorOccurred, this, fail, Qt::QueuedConnection);
}

void SmbProbe::start()
{
    m_deadline.start(k_deadline);
    m_socket.connectToHost(m_host, m_port);
}

void SmbProbe::judge()
{
    m_received += m_socket.read(k_longest - m_received.size());
    const auto answer = smbnegotiation::judge(m_received);
    if (answer != smbnegotiation::eIncomplete)
        finish(answer == smbnegotiation::eServer);
}

void SmbProbe::finish(bool isServer)
{
    if (m_isFinished) // an error that was queued already
        return;
    m_isFinished = true;
    const bool isForeign = smbnegotiation::judge(m_received) == smbnegotiation::eForeign;
    m_rejection = isForeign ? EProbeRejection::eAnswered : rejectionOf(m_socket);
    m_deadline.stop();
    m_socket.disconnect(this);
    m_socket.abort();
    emit finished(isServer);
}

} // namespace tq
