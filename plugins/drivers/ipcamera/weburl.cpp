// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/weburl_p.h"

#include <QRegularExpression>

namespace tq {

namespace {

constexpr int k_httpPort = 80;
constexpr int k_httpsPort = 443;

const QString k_http = QStringLiteral("http");
const QString k_https = QStringLiteral("https");

} // namespace

bool isUsableHost(const QString& host)
{
    const QUrl url = webUrl(host, Endpoint(), QStringLiteral("/"));
    return url.isValid() && !url.host().isEmpty();
}

QUrl webUrl(const QString& host, const Endpoint& endpoint, const QString& path)
{
    QUrl url;
    url.setScheme(endpoint.ssl ? k_https : k_http);
    url.setHost(host);
    url.setPort(endpoint.port);
    url.setPath(path);
    return url;
}

bool isWebUrl(const QUrl& url)
{
    return url.scheme() == k_http || url.scheme() == k_https;
}

Endpoint endpointOf(const QUrl& url)
{
    const bool ssl = url.scheme() == k_https;
    return { url.port(ssl ? k_httpsPort : k_httpPort), ssl };
}

QByteArray requestTarget(const QUrl& url)
{
    const QByteArray path = url.path(QUrl::FullyEncoded).toLatin1();
    return url.hasQuery() ? path + '?' + url.query(QUrl::FullyEncoded).toLatin1() : path;
}

QByteArray hostField(const QUrl& url)
{
    static const QRegularExpression zone(QStringLiteral("%[^\\]]*"));
    const QString authority = url.adjusted(QUrl::RemoveUserInfo).authority(QUrl::FullyEncoded);
    return QString(authority).remove(zone).toLatin1();
}

} // namespace tq
