// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>

namespace tst {

/** A WS-Discovery message of somebody who means harm. */
struct HostileMessage
{
    QByteArray bytes;
    bool isToGroup; ///< else to the socket that sent the probe
};

constexpr int k_hostileKinds = 16;

/**
 * Returns one message of each kind, what a receiver may hold for good among them. `number` makes
 * their endpoints other ones each time; `probe` is the id of the probe they answer; `address` is
 * where their devices claim to be.
 */
QList<HostileMessage> hostileMessages(
    int number, const QByteArray& probe, const QByteArray& address);

} // namespace tst
