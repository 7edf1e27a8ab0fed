// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/nodeconflict.h"

#include "cli/output.h"

#include "devices/ipdevicenode.h"
#include "nodestore/nodedb.h"

#include "platform/macaddress.h"
#include "platform/plugincall.h"

namespace tq::cli {

namespace {

/** Returns where a device is surely reached in the active environment, as HOST and port; empty when
 * nobody knows. Nodes that do not say whether their address was confirmed count as confirmed. */
QString confirmedAddress(const IPDeviceNode& node)
{
    const QString host = node.hostAddress().toLower();
    const bool isConfirmed = node.boolProperty(text("AddressConfirmed"), true);
    return host.isEmpty() || !isConfirmed ? QString()
                                          : QStringLiteral("%1 port %2").arg(host).arg(node.port());
}

} // namespace

QString conflictError(const NodeDB& database, const Node& node, const QStringList& edited)
{
    const auto* const device = dynamic_cast<const IPDeviceNode*>(&node);
    if (!device)
        return QString();
    const bool isMacNew = edited.contains(text("MAC")) && device->mac().isOneDevices();
    const QString address = edited.contains(text("IP")) || edited.contains(text("Port"))
        ? confirmedAddress(*device)
        : QString();
    if (!isMacNew && address.isEmpty())
        return QString();
    for (const QString& id : database.nodeIdList()) {
        const auto handle = database.node(id);
        const auto* const other = dynamic_cast<const IPDeviceNode*>(handle.get());
        if (!other || id == node.id())
            continue;
        // A node that fails in this is in nobody's way.
        const bool hasMac =
            callPlugin("mac", false, [&] { return isMacNew && other->mac() == device->mac(); });
        if (hasMac)
            return QStringLiteral("%1 has the MAC %2 already; --force sets it all the same")
                .arg(quoted(id), device->mac().toString());
        const auto isThere = [&] { return confirmedAddress(*other) == address; };
        if (!address.isEmpty() && callPlugin("address", false, isThere))
            return QStringLiteral("%1 is reached at %2 already; --force sets it all the same")
                .arg(quoted(id), address);
    }
    return QString();
}

} // namespace tq::cli
