// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>
#include <QStringList>

namespace tq {

/** Where the service of a device is. */
struct ServicePlace
{
    QHostAddress address;
    int port = 80;
    bool ssl = false;
    QString url; ///< empty when the device named none

    bool operator==(const ServicePlace&) const = default;
};

/** A network that this machine is on. */
struct Subnet
{
    QHostAddress network;
    int prefixLength = 0;

    bool operator==(const Subnet&) const = default;
};

/** Returns whether `address` is reached without a router. */
bool isOnLink(const QHostAddress& address, const QList<Subnet>& subnets);

/**
 * Returns the places that the URLs of a device name, the best first: http and https at the sender's
 * own address, then at others on our networks; IPv4 before IPv6.
 *
 * The sender may name anybody. So names are not looked up, and addresses beyond our networks are
 * not followed: where nothing else is left, the sender's own address stands in the place of the
 * first such host, with that port and path. That needs a sender who speaks for itself: without
 * `isItself`, nothing is left then.
 */
QList<ServicePlace> placesOf(const QStringList& urls, const QHostAddress& sender, bool isItself,
    const QList<Subnet>& subnets);

} // namespace tq
