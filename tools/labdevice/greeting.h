// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHostAddress>
#include <QObject>
#include <QTimer>

#include <functional>

namespace lab {

/**
 * Says one datagram to the discard port of the near side, until that answers that nobody listens
 * there: by then its kernel has resolved the sender's address and knows its MAC.
 */
class Greeting : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Greeting)

public:
    using Done = std::function<void(bool heard)>;

    /** Sends from @p from to @p to; calls @p done once, at the latest after 5 s, and deletes
     * itself. */
    static void send(const QHostAddress& from, const QHostAddress& to, const Done& done);

    ~Greeting() override;

private:
    Greeting(const QHostAddress& from, const QHostAddress& to, const Done& done);

    void speak();
    void listen();
    void finish(bool heard);

    int m_socket;
    int m_tries = 0;
    QTimer m_timer;
    Done m_done;
};

} // namespace lab
