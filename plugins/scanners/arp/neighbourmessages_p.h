// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/arp/neighbourtable_p.h"

#include <QByteArray>

#include <optional>

struct nlmsghdr;

namespace tq {

/**
 * Reads a message about a line of the neighbour table. Gives nothing for other messages, families
 * and hardware, and for one that is cut short. `message` must lie in memory as long as it says it
 * is.
 */
std::optional<Neighbour> readNeighbour(const nlmsghdr* message);

/** Makes the request for the whole table. */
QByteArray listingRequest(quint32 sequence);

/** Makes the request that lets the kernel ask for an address once more; needs CAP_NET_ADMIN. */
QByteArray questionRequest(const NeighbourTable::Place& place, quint32 sequence);

} // namespace tq
