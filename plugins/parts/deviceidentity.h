// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "parts/hintfacts.h"

namespace tq {

class IPDeviceNode;

/** What a device keeps wherever it is moved to; what is empty is not known. */
struct DeviceIdentity
{
    enum EMatch {
        eUnknown, ///< nothing is known on both sides
        eSame,
        eOther
    };

    /**
     * Compares the MACs where both are known, else the serial numbers, else the references. Makers
     * number their devices each for itself, and some all alike: equal serial numbers count only for
     * one model that is known, and not against the references; "0000" or "unknown" say nothing.
     */
    EMatch compare(const DeviceIdentity& other) const;

    bool isEmpty() const { return mac.isEmpty() && serialNumber.isEmpty() && reference.isEmpty(); }

    MACAddress mac;
    QString serialNumber;
    QString reference; ///< its endpoint reference in WS-Discovery
    QString model = {}; ///< may come with the maker's name before it; tells no device from another
};

/** Returns what a node knows of its device. Nodes without DeviceMarks have no serial number; the
 * full name of any node may be a reference. */
DeviceIdentity identityOf(const IPDeviceNode& node);

/** Returns what a hint tells. The name of a DNS-SD service is no reference: another site may have
 * one of the same name. */
DeviceIdentity identityOf(const HintFacts& facts);

} // namespace tq
