// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/webexchange_p.h"

#include "drivers/ipcamera/devicepage_p.h"
#include "drivers/ipcamera/weburl_p.h"
#include "parts/proberejections.h"

#include <QSslSocket>

namespace tq {

namespace {

constexpr qint64 k_readBuffer = 65536; ///< bytes

} // namespace

WebExchange::WebExchange(const QString& host, const WebRequest& request, QObject* parent)
    : QObject(parent)
    , m_host(host)
    , m_request(request)
    , m_socket(endpointOf(request.url).ssl ? new QSslSocket(this) : new QTcpSocket(this))
    , m_target(requestTarget(request.url))
{
    m_socket->setReadBufferSize(k_readBuffer);
    m_socket->setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    QObject::connect(m_socket, &QTcpSocket::readyRead, this, &WebExchange::read);
    // Queued: a refusal may come while we are still connecting.
    QObject::connect(
        m_socket, &QTcpSocket::errorOccurred, this, &WebExchange::ended, Qt::QueuedConnection);
}

void WebExchange::start(const QNetworkProxy& proxy)
{
    m_isProxied = proxy.type() == QNetworkProxy::HttpProxy;
    const auto port = quint16(endpointOf(url()).port);
    if (auto* const secure = qobject_cast<QSslSocket*>(m_socket)) {
        if (m_isProxied)
            secure->setProxy(proxy);
        secure->setPeerVerifyMode(QSslSocket::VerifyNone);
        QObject::connect(secure, &QSslSocket::encrypted, this, &WebExchange::sendRequest);
        secure->connectToHostEncrypted(m_host, port);
        return;
    }
    QObject::connect(m_socket, &QTcpSocket::connected, this, &WebExchange::sendRequest);
    if (!m_isProxied)
        return m_socket->connectToHost(m_host, port);
    // Proxies tunnel to few ports only: an open page is asked of the proxy itself.
    m_target.prepend("http://" + hostField(url()));
    m_socket->connectToHost(proxy.hostName(), proxy.port());
}

EProbeRejection WebExchange::rejection() const
{
    if (m_answer.status() > 0 || m_answer.isForeign())
        return EProbeRejection::eAnswered;
    const EProbeRejection reason = rejectionOf(*m_socket);
    // Whoever refuses, is not there or stays silent may be the proxy.
    const bool isConnected =
        reason == EProbeRejection::eSlow || reason == EProbeRejection::eAnswered;
    return m_isProxied && !isConnected ? EProbeRejection::eNoProxy : reason;
}

void WebExchange::abandon()
{
    m_socket->disconnect(this);
    m_socket->abort();
}

void WebExchange::sendRequest()
{
    QByteArray head = (isPost() ? "POST " : "GET ") + m_target
        + " HTTP/1.1\r\nHost: " + hostField(url())
        + "\r\nUser-Agent: nodedb\r\nAccept: */*\r\nConnection: close\r\n" + m_request.fields;
    if (isPost())
        head += "Content-Length: " + QByteArray::number(m_request.body.size()) + "\r\n";
    m_socket->write(head + "\r\n" + m_request.body);
}

void WebExchange::read()
{
    m_answer.take(m_socket->read(m_answer.room()));
    if (isEnough())
        emit ended();
}

bool WebExchange::isEnough() const
{
    const bool isNamed = !isPost() && hasWholeTitle(m_answer.body());
    return m_answer.room() == 0 || m_answer.isWhole() || isNamed;
}

} // namespace tq
