// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/webprobe_p.h"

#include "drivers/ipcamera/devicepage_p.h"
#include "drivers/ipcamera/webexchange_p.h"
#include "parts/cleantext.h"

#include <QUrl>

#include <utility>

namespace tq {

namespace {

constexpr int k_deadline = 2000; ///< ms, for all endpoints
constexpr int k_patience = 700; ///< ms, until the next endpoint is tried beside a silent one
constexpr int k_longestServer = 80;
constexpr int k_mostRedirections = 3;
constexpr int k_httpPort = 80;
constexpr int k_httpsPort = 443;

const QString k_http = QStringLiteral("http");
const QString k_https = QStringLiteral("https");

QUrl urlOf(const QString& host, const Endpoint& endpoint)
{
    QUrl url;
    url.setScheme(endpoint.ssl ? k_https : k_http);
    url.setHost(host);
    url.setPort(endpoint.port);
    url.setPath(QStringLiteral("/"));
    return url;
}

Endpoint endpointOf(const QUrl& url)
{
    const bool ssl = url.scheme() == k_https;
    return { url.port(ssl ? k_httpsPort : k_httpPort), ssl };
}

bool isRedirection(int status)
{
    return status >= 300 && status <= 399;
}

/** Whether a proxy says so itself when it cannot or may not reach the device. */
bool isProxysOwn(int status)
{
    return status == 403 || status == 407 || (status >= 502 && status <= 504);
}

} // namespace

WebProbe::WebProbe(const QString& host, const QList<Endpoint>& endpoints,
    const QNetworkProxy& proxy, QObject* parent)
    : QObject(parent), m_host(host), m_endpoints(endpoints), m_proxy(proxy)
{
    m_deadline.setSingleShot(true);
    m_patience.setSingleShot(true);
    QObject::connect(&m_deadline, &QTimer::timeout, this, &WebProbe::giveUp);
    QObject::connect(&m_patience, &QTimer::timeout, this, &WebProbe::tryNext);
}

bool WebProbe::isUsable(const QString& host)
{
    const QUrl url = urlOf(host, Endpoint());
    return url.isValid() && !url.host().isEmpty();
}

void WebProbe::start()
{
    m_deadline.start(k_deadline);
    tryNext();
}

void WebProbe::tryNext()
{
    if (m_next == m_endpoints.size())
        return;
    send(urlOf(m_host, m_endpoints.at(m_next++)), Attempt());
    if (m_next < m_endpoints.size())
        m_patience.start(k_patience);
}

void WebProbe::send(const QUrl& url, const Attempt& attempt)
{
    auto* const exchange = new WebExchange(m_host, url, this);
    m_attempts.emplace(exchange, attempt);
    QObject::connect(
        exchange, &WebExchange::ended, this, [this, exchange] { endAttempt(exchange); });
    exchange->start(m_proxy);
}

void WebProbe::endAttempt(WebExchange* exchange)
{
    const auto found = m_attempts.find(exchange);
    if (found == m_attempts.end())
        return;
    const Attempt attempt = found->second;
    const auto answer = answerOf(*exchange, attempt);
    const auto target = redirection(*exchange, attempt);
    drop(exchange);
    if (target)
        return send(*target, { attempt.redirections + 1, answer });
    if (answer)
        return finish(answer);
    m_patience.stop();
    tryNext();
    if (m_attempts.empty())
        finish(std::nullopt);
}

bool WebProbe::hasAnswered(const WebExchange& exchange) const
{
    const int status = exchange.status();
    const bool isProxied = m_proxy.type() == QNetworkProxy::HttpProxy;
    return status > 0 && !(isProxied && isProxysOwn(status));
}

std::optional<WebProbe::Answer> WebProbe::answerOf(
    const WebExchange& exchange, const Attempt& attempt) const
{
    if (!hasAnswered(exchange))
        return attempt.answer;
    return Answer{ endpointOf(exchange.url()),
        cleanText(exchange.header("server"), k_longestServer), pageTitle(exchange.page()) };
}

std::optional<QUrl> WebProbe::redirection(const WebExchange& exchange, const Attempt& attempt) const
{
    const QUrl location = QUrl::fromEncoded(exchange.header("location"));
    if (!isRedirection(exchange.status()) || location.isEmpty() || !location.isValid()
        || attempt.redirections == k_mostRedirections)
        return std::nullopt;
    QUrl target = exchange.url().resolved(location);
    const bool isWeb = target.scheme() == k_http || target.scheme() == k_https;
    if (!isWeb || target.host() != exchange.url().host())
        return std::nullopt;
    target.setUserInfo(QString());
    target.setPort(endpointOf(target).port);
    if (target.path().isEmpty())
        target.setPath(QStringLiteral("/"));
    return target;
}

void WebProbe::giveUp()
{
    std::optional<Answer> answer;
    for (const auto& [exchange, attempt] : std::as_const(m_attempts)) {
        if (!answer)
            answer = answerOf(*exchange, attempt);
    }
    finish(answer);
}

void WebProbe::finish(const std::optional<Answer>& answer)
{
    m_deadline.stop();
    m_patience.stop();
    while (!m_attempts.empty())
        drop(m_attempts.begin()->first);
    emit finished(answer);
}

void WebProbe::drop(WebExchange* exchange)
{
    m_attempts.erase(exchange);
    exchange->disconnect(this);
    exchange->abandon();
    exchange->deleteLater(); // we may stand in its signal
}

} // namespace tq
