// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include <QStringList>
#include <QVariant>

namespace tq {

class NodeDB;

/** Returns what a row that stands for a node shows in a role (Qt's or EViewRole); `database` may be
 * null, and need not know the node. */
QVariant nodeData(const NodeDB* database, const NodeID& id, int role);

/** Returns what a person may look for in a node: name, address, MAC address with its colons and
 * without, model and note. A missing node has its id. */
QStringList searchTexts(const NodeDB* database, const NodeID& id);

} // namespace tq
