// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "parts/hintfacts.h"

#include "discovery/iprobeexplainer.h"

#include <QNetworkProxy>
#include <QObject>
#include <QTimer>

#include <map>
#include <optional>

namespace tq {

class WebExchange;

/**
 * Finds out, without blocking, whether a web server answers on a device and what it says of itself.
 *
 * The owner has a time limit. The endpoints are tried in order; one that stays silent does not hold
 * up the next for long. Any HTTP answer counts, whatever its status, unless it is a proxy's own.
 * Redirections are followed on the same host only.
 */
class WebProbe : public QObject
{
    Q_OBJECT

public:
    struct Answer
    {
        Endpoint endpoint;
        QString server; ///< the Server header, clean and at most 80 characters
        QString title; ///< of the page, likewise
    };

    /** Without an HTTP proxy the device is asked directly, whatever the system's settings say. */
    WebProbe(const QString& host, const QList<Endpoint>& endpoints, const QNetworkProxy& proxy,
        QObject* parent);

    void start();

    /** Finishes with what is there. */
    void giveUp();

    /** Returns, when it finished without an answer, why. */
    EProbeRejection rejection() const { return m_rejection; }

signals:
    /** Emitted once, never from start(). */
    void finished(const std::optional<tq::WebProbe::Answer>& answer);

private:
    struct Attempt
    {
        int redirections = 0;
        std::optional<Answer> answer; ///< of the page that led here
    };

    void tryNext();
    void send(const QUrl& url, const Attempt& attempt);
    void endAttempt(WebExchange* exchange);
    bool hasAnswered(const WebExchange& exchange) const;
    std::optional<Answer> answerOf(const WebExchange& exchange, const Attempt& attempt) const;
    std::optional<QUrl> redirection(const WebExchange& exchange, const Attempt& attempt) const;
    void finish(const std::optional<Answer>& answer);
    void drop(WebExchange* exchange);

    QString m_host;
    QList<Endpoint> m_endpoints;
    QNetworkProxy m_proxy;
    qsizetype m_next = 0;
    std::map<WebExchange*, Attempt> m_attempts;
    QTimer m_patience;
    EProbeRejection m_rejection = EProbeRejection::eUnknown;
};

} // namespace tq
