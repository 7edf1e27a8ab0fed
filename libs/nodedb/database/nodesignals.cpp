// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/nodesignals_p.h"

#include "devices/ipdevicenode.h"
#include "nodestore/nodedb.h"

#include "platform/qtsignal.h"

namespace tq {

void attachNodeSignals(const Node& node, NodeDB& db, Qt::ConnectionType connectionData)
{
    auto* const sender = const_cast<Node*>(&node);
    tq::connect(
        QtSignal(sender, SIGNAL(changed(tq::NodeID))), &db, SIGNAL(nodeUpdated(tq::NodeID)));
    if (qobject_cast<IPDeviceNode*>(sender))
        tq::connect(QtSignal(sender, SIGNAL(connectionDataChanged(tq::NodeID))), &db,
            SIGNAL(connectionDataChanged(tq::NodeID)), connectionData);
}

} // namespace tq
