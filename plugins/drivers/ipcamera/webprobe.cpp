// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/webprobe_p.h"

#include "drivers/ipcamera/devicepage_p.h"
#include "drivers/ipcamera/webexchange_p.h"
#include "drivers/ipcamera/weburl_p.h"
#include "parts/cleantext.h"

#include <algorithm>
#include <utility>

namespace tq {

namespace {

constexpr int k_patience = 700; ///< ms, until the next endpoint is tried beside a silent one
constexpr int k_longestServer = 80;
constexpr int k_mostRedirections = 3;
const QString k_root = QStringLiteral("/");

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
    m_patience.setSingleShot(true);
    QObject::connect(&m_patience, &QTimer::timeout, this, &WebProbe::tryNext);
}

void WebProbe::start()
{
    tryNext();
}

void WebProbe::tryNext()
{
    if (m_next == m_endpoints.size())
        return;
    send(webUrl(m_host, m_endpoints.at(m_next++), k_root), Attempt());
    if (m_next < m_endpoints.size())
        m_patience.start(k_patience);
}

void WebProbe::send(const QUrl& url, const Attempt& attempt)
{
    auto* const exchange = new WebExchange(m_host, { url, {}, {} }, this);
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
    const int status = exchange.answer().status();
    const bool isProxied = m_proxy.type() == QNetworkProxy::HttpProxy;
    return status > 0 && !(isProxied && isProxysOwn(status));
}

std::optional<WebProbe::Answer> WebProbe::answerOf(
    const WebExchange& exchange, const Attempt& attempt) const
{
    if (!hasAnswered(exchange))
        return attempt.answer;
    return Answer{ endpointOf(exchange.url()),
        cleanText(exchange.answer().field("server"), k_longestServer),
        pageTitle(exchange.answer().body()) };
}

std::optional<QUrl> WebProbe::redirection(const WebExchange& exchange, const Attempt& attempt) const
{
    const QUrl location = QUrl::fromEncoded(exchange.answer().field("location"));
    if (!isRedirection(exchange.answer().status()) || location.isEmpty() || !location.isValid()
        || attempt.redirections == k_mostRedirections)
        return std::nullopt;
    QUrl target = exchange.url().resolved(location);
    if (!isWebUrl(target) || target.host() != exchange.url().host())
        return std::nullopt;
    target.setUserInfo(QString());
    target.setPort(endpointOf(target).port);
    if (target.path().isEmpty())
        target.setPath(k_root);
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
    m_patience.stop();
    while (!m_attempts.empty())
        drop(m_attempts.begin()->first);
    emit finished(answer);
}

void WebProbe::drop(WebExchange* exchange)
{
    const bool isProxys = !hasAnswered(*exchange) && exchange->answer().status() > 0;
    m_rejection =
        std::max(m_rejection, isProxys ? EProbeRejection::eNoProxy : exchange->rejection());
    m_attempts.erase(exchange);
    exchange->disconnect(this);
    exchange->abandon();
    exchange->deleteLater(); // we may stand in its signal
}

} // namespace tq
