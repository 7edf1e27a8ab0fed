// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"
#include "parts/hintfacts.h"
#include "simulated/site/site.h"

#include "platform/smart.h"

namespace tq {

class NodeHint;

/** Returns the type of the nodes of a kind; one that no shipped driver has for other devices. */
ENodeType nodeTypeOf(site::EKind kind);

/** Returns where the device answers: the first port of its web server, or the usual one. */
Endpoint endpointOf(const site::DeviceSpec& device);

/**
 * Returns the hint that a scanner would give of a device which has `address`, of the kind that the
 * site says: as the neighbour table, a DNS-SD record, an answer to WS-Discovery or a person would.
 *
 * The first two name the device by its MAC as well; DNS-SD says whether it is a camera or a
 * storage; none of the others knows the type. Recording folders and other devices have typed hints.
 */
tqm::smart<NodeHint> hintOf(const site::DeviceSpec& device, const QHostAddress& address);

} // namespace tq
