// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/nodehintfrombonjour.h"

namespace tst {

/** Returns the resolved record of a service that is there. */
inline tq::SServiceInfo serviceRecord(const QString& address, const char* type = "_http._tcp",
    quint16 port = 8080, const char* name = "cam")
{
    tq::SServiceInfo record;
    record.serviceName = QString::fromUtf8(name);
    record.serviceType = QString::fromUtf8(type);
    record.fullName = record.serviceName + u'.' + record.serviceType + QStringLiteral(".local");
    record.address = address;
    record.ipVersion = address.contains(u':') ? 6 : 4;
    record.port = port;
    record.isAvailable = record.isResolved = 1;
    return record;
}

} // namespace tst
