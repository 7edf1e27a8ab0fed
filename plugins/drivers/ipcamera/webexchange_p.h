// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "drivers/ipcamera/webanswer_p.h"

#include "discovery/iprobeexplainer.h"

#include <QNetworkProxy>
#include <QObject>
#include <QUrl>

class QTcpSocket;

namespace tq {

/** What to ask of a web server. */
struct WebRequest
{
    QUrl url;
    QByteArray fields; ///< further lines of the head, each with its end
    QByteArray body; ///< is posted; without one the page is fetched
};

/**
 * One request to a web server whose manners are not known, and what it says.
 *
 * At most 64 KiB are read, the head of the answer included; of a page no more than up to the end of
 * its title. Nothing but the request is sent, and redirections are not followed. Certificates are
 * not judged. There is no time limit: the owner has one, and deletes the exchange.
 *
 * Written on sockets because QNetworkAccessManager reads a head without end for ever, on a thread
 * that all its requests share.
 */
class WebExchange : public QObject
{
    Q_OBJECT

public:
    /** `host` is where to connect to, the host of the request's URL in the form of sockets. */
    WebExchange(const QString& host, const WebRequest& request, QObject* parent);

    /** Connects, through `proxy` if it is an HTTP proxy. The answer never comes from here. */
    void start(const QNetworkProxy& proxy);

    /** Drops the connection; nothing is emitted afterwards. */
    void abandon();

    QUrl url() const { return m_request.url; }

    /** Returns what is there of the answer. */
    const WebAnswer& answer() const { return m_answer; }

    /** Returns why there is no answer, as far as that shows now. */
    EProbeRejection rejection() const;

signals:
    /** No more is coming, or no more is wanted. */
    void ended();

private:
    bool isPost() const { return !m_request.body.isEmpty(); }
    void sendRequest();
    void read();
    bool isEnough() const;

    QString m_host;
    WebRequest m_request;
    QTcpSocket* m_socket; ///< a child
    QByteArray m_target; ///< of the request line
    WebAnswer m_answer;
    bool m_isProxied = false;
};

} // namespace tq
