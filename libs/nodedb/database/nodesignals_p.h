// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Qt>

namespace tq {

class Node;
class NodeDB;

/**
 * Connects a stored node's signals to the database's. `connectionData` is the type of the
 * connection-data relay; the other is automatic. Nothing detaches them: a node's own death does.
 */
void attachNodeSignals(const Node& node, NodeDB& db, Qt::ConnectionType connectionData);

} // namespace tq
