// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/ipdevicenode.h"
#include "parts/hintfacts.h"

#include <QUuid>

#include <memory>

namespace tq {

/** Returns whether the node's address was confirmed in the active environment; see DeviceMarks. One
 * without such marks is believed. */
bool isAddressConfirmed(const IPDeviceNode& node);

/** Returns one sentence for a person: why a login is not sent to the node's address, which was not
 * confirmed in the active environment, and what to do. */
QString unconfirmedAddress(const IPDeviceNode& node);

/**
 * Returns whether `hint` is of this device: by its DeviceIdentity where both sides have one in
 * common. Else by address or by the name of its DNS-SD service, which is the node's full name; but
 * only where the address was confirmed: at another site, another device may have both.
 */
bool isDeviceOf(const IPDeviceNode& node, const NodeHint& hint);

/**
 * Takes over the address, which confirms it, the endpoint reference, the MAC while none is known,
 * the name while the node has none but its address, and what a DNS-SD record says: its port only
 * where that is a web server's. IPv4 is never given up for IPv6 while the record has both, and
 * taken for IPv6.
 */
void takeOver(IPDeviceNode& node, const NodeHint& hint);

/** Fills a hint of any kind with what the node knows; with the login of the active user only where
 * the address is confirmed. */
void fillFrom(const IPDeviceNode& node, NodeHint& hint);

/** Returns the id of a new node: "mac:" and its MAC where that is known, else "uuid:" and the UUID,
 * without braces. Neither what is learnt later nor another address changes it. */
QString deviceId(const MACAddress& mac, const QUuid& otherwise = QUuid::createUuid());

/** Returns the name a person gave, else the device's own, else what the scanner calls it, else its
 * address. */
QString deviceName(const HintFacts& facts, const QString& ownName);

/** Fills a new node with what its hint says; it answers at `endpoint`, and should persist. */
void describe(IPDeviceNode& node, const NodeHint& hint, const Endpoint& endpoint);

/**
 * Gives a new node to the database and returns its id.
 *
 * Another scanner may have met the same device while this one's hint was being probed: then the
 * node of that device takes over what the hint says, and its id is returned. So it is where the new
 * node has the identity of another one whose address in the active environment is the same or not
 * confirmed; that one is at the new address now. With a level 2 log line and a null string are
 * refused: a node that has the MAC of one confirmed at another address, and one whose id is taken.
 */
NodeID insertDevice(std::unique_ptr<IPDeviceNode> node, const NodeHint& hint);

} // namespace tq
