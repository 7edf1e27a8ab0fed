// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QNetworkProxy>
#include <QObject>
#include <QUrl>

class QTcpSocket;

namespace tq {

/**
 * One GET to a web server whose manners are not known, and the beginning of what it says.
 *
 * At most 64 KiB are read, the head of the answer included, and no longer than up to the end of the
 * page's title. Nothing but the request is sent: no credentials, no cookies. Certificates are not
 * judged. There is no time limit: the owner has one, and deletes the exchange.
 *
 * Written on sockets because QNetworkAccessManager reads a head without end for ever, on a thread
 * that all its requests share.
 */
class WebExchange : public QObject
{
    Q_OBJECT

public:
    /** `host` is where to connect to, the host of `url` in the form of sockets. */
    WebExchange(const QString& host, const QUrl& url, QObject* parent);

    /** Connects, through `proxy` if it is an HTTP proxy. The answer never comes from here. */
    void start(const QNetworkProxy& proxy);

    /** Drops the connection; nothing is emitted afterwards. */
    void abandon();

    QUrl url() const { return m_url; }

    /** Returns the status of the answer; 0 while its head is not there, or not HTTP. */
    int status() const;

    /** Returns the value of the first header field of that name, given in small letters. */
    QByteArray header(const QByteArray& name) const;

    /** Returns what is there of the page. */
    QByteArray page() const;

signals:
    /** No more is coming, or no more is wanted. */
    void ended();

private:
    void sendRequest();
    void read();
    bool isEnough() const;

    QString m_host;
    QUrl m_url;
    QTcpSocket* m_socket; ///< a child
    QByteArray m_target; ///< of the request line
    QByteArray m_received;
    qsizetype m_pageBegin = -1;
};

} // namespace tq
