// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include "platform/macaddress.h"

#include <QList>
#include <QString>
#include <QUrl>

namespace tq {

class NodeHint;

/** A web server of a device. */
struct Endpoint
{
    int port = 80;
    bool ssl = false;
};

/** What a hint of any kind says of a device, in one form. */
struct HintFacts
{
    QString address; ///< a host, as a person would write it; IPv4 first
    QString secondAddress; ///< of the other family
    MACAddress mac;
    QString name;
    QString model;
    QString serialNumber;
    QList<Endpoint> endpoints; ///< where to look for the device, the likeliest first; one at least
    bool isEndpointTold = false; ///< the hint itself names the first of them
    QString serviceId; ///< under which it announces itself, whatever its address
    QUrl serviceUrl; ///< of the device's own web service, where the hint names it
    ENodeCreationService service = eUnknownService;
};

/**
 * Returns what `hint` says. The service's id is the full name of a DNS-SD service, or the endpoint
 * reference of a device that speaks WS-Discovery. A NodeHintIPDevice whose further value is
 * eWSDiscoveryService comes from WS-Discovery and has that reference as second and the URL of its
 * service as third text; any other one was entered by hand. A device entered by hand with the port
 * 80 and without SSL, as in a new hint, may be on either usual port; with SSL alone it is on 443;
 * otherwise on the very port.
 */
HintFacts factsOf(const NodeHint& hint);

/** Returns whether a service's id is the full name of a DNS-SD service. */
bool isServiceName(const QString& serviceId);

/** Returns whether the two are one address or host name, however they are written. */
bool isSameHost(const QString& left, const QString& right);

} // namespace tq
