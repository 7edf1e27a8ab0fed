// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHostAddress>

namespace tq {

/** Sends empty datagrams to the discard port (9): they make the kernel ask who has an address. */
class DiscardPort
{
public:
    DiscardPort();
    ~DiscardPort();
    DiscardPort(const DiscardPort&) = delete;
    DiscardPort& operator=(const DiscardPort&) = delete;

    /** Sends one; a link-local address has the number of its interface as its scope. Returns false
     * when there is no room now: try again later. */
    bool send(const QHostAddress& address);

private:
    int m_socket;
    int m_socket6; ///< for IPv6
};

} // namespace tq
