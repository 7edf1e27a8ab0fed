// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include "platform/macaddress.h"

namespace tq {

/**
 * Returns the id of the node that has this MAC; a null string when none has, and for the empty
 * address. What a device says of its own MAC is believed only while no other node has it: hints
 * recognise nodes by it.
 */
NodeID nodeWithMac(const MACAddress& mac);

} // namespace tq
