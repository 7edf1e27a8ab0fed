// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/ipdevicenode.h"
#include "parts/hintfacts.h"

#include <memory>

namespace tq {

/**
 * Returns whether `hint` is of this device: by MAC where both have one, else by address, or by the
 * id of the service under which it announces itself. That one is the node's full name.
 */
bool isDeviceOf(const IPDeviceNode& node, const NodeHint& hint);

/**
 * Takes over a changed address, the MAC while none is known, the name while the node has none but
 * its address, and what a DNS-SD record says: its port only where that is a web server's. IPv4 is
 * never given up for IPv6 while the record has both, and taken for IPv6.
 */
void takeOver(IPDeviceNode& node, const NodeHint& hint);

/** Fills a hint of any kind with what the node knows, the login of the active user included. */
void fillFrom(const IPDeviceNode& node, NodeHint& hint);

/** Returns the id of a new node: of its MAC where that is known, else of address and port. */
QString deviceId(const HintFacts& facts, int port);

/** Returns the name a person gave, else the device's own, else what the scanner calls it, else its
 * address. */
QString deviceName(const HintFacts& facts, const QString& ownName);

/** Fills a new node with what its hint says; it answers at `endpoint`, and should persist. */
void describe(IPDeviceNode& node, const NodeHint& hint, const Endpoint& endpoint);

/**
 * Gives a new node to the database and returns its id.
 *
 * Another scanner may have met the same device while this one's hint was being probed: then the
 * node of that device takes over what the hint says, and its id is returned. A node whose id is
 * taken is refused with a level 2 log line and a null string.
 */
NodeID insertDevice(std::unique_ptr<IPDeviceNode> node, const NodeHint& hint);

} // namespace tq
