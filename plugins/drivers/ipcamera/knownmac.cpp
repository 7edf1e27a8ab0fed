// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/knownmac_p.h"

#include "nodestore/nodedb.h"

#include "platform/properties/properties.h"

namespace tq {

NodeID nodeWithMac(const MACAddress& mac)
{
    if (mac.isEmpty())
        return NodeID();
    const tqgen::StringProperty wanted(QStringLiteral("MAC"), QString(), mac.toString());
    return NodeDB::getDB()->search(wanted, eAnyNodeType).value(0);
}

} // namespace tq
