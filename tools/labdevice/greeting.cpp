// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/greeting.h"

#include <QSocketNotifier>

#include <cerrno>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lab {

namespace {

const quint16 k_discard = 9;
const int k_pause = 200; // ms between two tries
const int k_tries = 25;

sockaddr_in socketAddress(const QHostAddress& address, quint16 port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    result.sin_addr.s_addr = htonl(address.toIPv4Address());
    return result;
}

} // namespace

void Greeting::send(const QHostAddress& from, const QHostAddress& to, const Done& done)
{
    auto* greeting = new Greeting(from, to, done); // deletes itself
    greeting->speak();
}

Greeting::Greeting(const QHostAddress& from, const QHostAddress& to, const Done& done)
    : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)), m_done(done)
{
    // A failure shows in speak(): it never gets an answer then.
    const sockaddr_in own = socketAddress(from, 0);
    const sockaddr_in peer = socketAddress(to, k_discard);
    bind(m_socket, reinterpret_cast<const sockaddr*>(&own), sizeof own);
    ::connect(m_socket, reinterpret_cast<const sockaddr*>(&peer), sizeof peer);
    auto* notifier = new QSocketNotifier(m_socket, QSocketNotifier::Read, this);
    QObject::connect(notifier, &QSocketNotifier::activated, this, &Greeting::listen);
    QObject::connect(&m_timer, &QTimer::timeout, this, &Greeting::speak);
    m_timer.start(k_pause);
}

Greeting::~Greeting()
{
    ::close(m_socket);
}

void Greeting::speak()
{
    if (++m_tries > k_tries) {
        finish(false);
    } else if (::send(m_socket, "", 1, 0) < 0 && errno == ECONNREFUSED) {
        finish(true); // the answer to the try before
    }
}

void Greeting::listen()
{
    char byte = 0;
    if (recv(m_socket, &byte, 1, 0) >= 0 || errno == ECONNREFUSED)
        finish(true);
}

void Greeting::finish(bool heard)
{
    m_timer.stop();
    const auto notifiers = findChildren<QSocketNotifier*>();
    for (QSocketNotifier* notifier : notifiers)
        notifier->setEnabled(false);
    deleteLater();
    m_done(heard);
}

} // namespace lab
