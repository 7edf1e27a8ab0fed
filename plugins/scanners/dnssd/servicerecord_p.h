// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/dnssd/servicetypes_p.h"

#include "discovery/serviceinfo.h"

#include <QByteArray>
#include <QHostAddress>
#include <QList>

struct AvahiStringList;

namespace tq {

/** What names a service, as the network says it (UTF-8, not escaped). */
struct ServiceKey
{
    QByteArray name;
    QByteArray type;
    QByteArray domain;
    bool operator==(const ServiceKey&) const = default;
    bool operator<(const ServiceKey& other) const;
};

/** Where a service is announced: over which network interface and IP version. */
struct ServicePlace
{
    int interfaceIndex = 0;
    bool isIPv6 = false;
    auto operator<=>(const ServicePlace&) const = default;
};

/** One announcement of a service; a service has one for each place. */
struct Announcement
{
    ServiceKey service;
    ServicePlace place;
    bool operator<(const Announcement& other) const;
};

/** What is behind an announcement. */
struct Resolution
{
    QByteArray hostName;
    quint16 port = 0;
    QList<QByteArray> texts;
    QHostAddress address;
    bool operator==(const Resolution&) const = default;
};

/** Returns the first entries of a TXT record: at most 64, and 1300 bytes, as the standard advises.
 */
QList<QByteArray> boundedTexts(AvahiStringList* texts);

/**
 * Returns the record of a service that is announced and resolved. Model, serial number, path and
 * MAC come from the usual keys of its texts; what is not UTF-8 is replaced. `second` is an address
 * of the other IP version, or null.
 */
SServiceInfo serviceRecord(const ServiceKey& service, EServiceKind kind, int interfaceIndex,
    const Resolution& resolution, const QHostAddress& second);

} // namespace tq
