// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/macaddress.h"

#include <QList>
#include <QString>

namespace tq {

/** The record of one DNS-SD service, as a scanner fills it. */
struct SServiceInfo
{
    QString serviceName;
    int interfaceIndex = 0; ///< the network interface it was first seen on
    quint8 isAvailable = 0; ///< not 0: announced now
    quint8 isResolved = 0; ///< not 0: host and port are known
    int serviceKind = 0; ///< 1 camera, 2 network storage, else unknown
    QString serviceType; ///< such as _http._tcp
    QString domain;
    QString hostName;
    QList<QString> texts; ///< the TXT record, "key=value" each
    quint16 port = 0;
    quint8 ipVersion = 0; ///< of `address`: 4 or 6
    MACAddress mac;
    int timeToLive = 0; ///< s
    QString address;
    QString fullName; ///< escaped, with type and domain
    QString model;
    QString serialNumber;
    quint8 ssl = 0; ///< not 0: reached over TLS
    QString path;
    QString secondAddress; ///< of the other IP version
    quint16 securePort = 0;
};

} // namespace tq
