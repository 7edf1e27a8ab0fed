// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/webexchange_p.h"

#include "drivers/ipcamera/devicepage_p.h"

#include <QRegularExpression>
#include <QSslSocket>

namespace tq {

namespace {

constexpr qint64 k_longest = 65536; ///< bytes

/** Returns the Host field's value for `url`; a zone of IPv6 is this machine's own business. */
QByteArray hostField(const QUrl& url)
{
    static const QRegularExpression zone(QStringLiteral("%[^\\]]*"));
    const QString authority = url.adjusted(QUrl::RemoveUserInfo).authority(QUrl::FullyEncoded);
    return QString(authority).remove(zone).toLatin1();
}

qsizetype endOfHead(const QByteArray& received)
{
    const qsizetype strict = received.indexOf("\r\n\r\n");
    const qsizetype lax = received.indexOf("\n\n");
    if (strict >= 0 && (lax < 0 || strict < lax))
        return strict + 4;
    return lax < 0 ? -1 : lax + 2;
}

} // namespace

WebExchange::WebExchange(const QString& host, const QUrl& url, QObject* parent)
    : QObject(parent)
    , m_host(host)
    , m_url(url)
    , m_socket(url.scheme() == QLatin1String("https") ? new QSslSocket(this) : new QTcpSocket(this))
{
    m_target = url.path(QUrl::FullyEncoded).toLatin1();
    if (url.hasQuery())
        m_target += '?' + url.query(QUrl::FullyEncoded).toLatin1();
    m_socket->setReadBufferSize(k_longest);
    m_socket->setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    QObject::connect(m_socket, &QTcpSocket::readyRead, this, &WebExchange::read);
    // Queued: a refusal may come while we are still connecting.
    QObject::connect(
        m_socket, &QTcpSocket::errorOccurred, this, &WebExchange::ended, Qt::QueuedConnection);
}

void WebExchange::start(const QNetworkProxy& proxy)
{
    const bool isProxied = proxy.type() == QNetworkProxy::HttpProxy;
    const auto port = quint16(m_url.port());
    if (auto* const secure = qobject_cast<QSslSocket*>(m_socket)) {
        if (isProxied)
            secure->setProxy(proxy);
        secure->setPeerVerifyMode(QSslSocket::VerifyNone);
        QObject::connect(secure, &QSslSocket::encrypted, this, &WebExchange::sendRequest);
        secure->connectToHostEncrypted(m_host, port);
        return;
    }
    QObject::connect(m_socket, &QTcpSocket::connected, this, &WebExchange::sendRequest);
    if (!isProxied)
        return m_socket->connectToHost(m_host, port);
    // Proxies tunnel to few ports only: an open page is asked of the proxy itself.
    m_target.prepend("http://" + hostField(m_url));
    m_socket->connectToHost(proxy.hostName(), proxy.port());
}

void WebExchange::abandon()
{
    m_socket->disconnect(this);
    m_socket->abort();
}

void WebExchange::sendRequest()
{
    m_socket->write("GET " + m_target + " HTTP/1.1\r\nHost: " + hostField(m_url)
        + "\r\nUser-Agent: nodedb\r\nAccept: */*\r\nConnection: close\r\n\r\n");
}

void WebExchange::read()
{
    m_received += m_socket->read(k_longest - m_received.size());
    if (m_pageBegin < 0)
        m_pageBegin = endOfHead(m_received);
    if (isEnough())
        emit ended();
}

bool WebExchange::isEnough() const
{
    if (m_received.size() >= k_longest)
        return true;
    if (m_pageBegin < 0)
        return false;
    bool isKnown = false;
    const qint64 length = header("content-length").toLongLong(&isKnown);
    return hasWholeTitle(page()) || (isKnown && m_received.size() - m_pageBegin >= length);
}

int WebExchange::status() const
{
    static const QRegularExpression line(QStringLiteral("^HTTP/\\d\\.\\d ([1-5]\\d\\d)\\s"));
    if (m_pageBegin < 0)
        return 0;
    const auto match =
        line.match(QString::fromLatin1(m_received.left(m_received.indexOf('\n') + 1)));
    return match.captured(1).toInt();
}

QByteArray WebExchange::header(const QByteArray& name) const
{
    const QList<QByteArray> lines = m_received.left(m_pageBegin).split('\n');
    for (const QByteArray& line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().toLower() == name)
            return line.mid(colon + 1).trimmed();
    }
    return QByteArray();
}

QByteArray WebExchange::page() const
{
    return m_pageBegin < 0 ? QByteArray() : m_received.mid(m_pageBegin);
}

} // namespace tq
