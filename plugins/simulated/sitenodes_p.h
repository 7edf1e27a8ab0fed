// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"
#include "simulated/site/site.h"

namespace tq {

class Node;
class NodeHint;

/** Returns whether there are nodes of that type: recording folders, cameras and storages. */
bool isSimulated(ENodeType type);

/** Returns a new, empty node of that type, owned by the caller; null when there are none. */
Node* newNode(ENodeType type);

/**
 * Makes the node of a type that `hint` describes, adds what `device` would say of itself (null: the
 * site knows nothing of it), gives it to the database, and returns its id. It is of the class of
 * the shipped drivers: what is saved here loads there. A hint without an address is refused with a
 * level 2 log line and a null string.
 */
NodeID insertNode(ENodeType type, const NodeHint& hint, const site::DeviceSpec* device);

} // namespace tq
