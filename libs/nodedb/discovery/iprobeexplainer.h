// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

namespace tq {

/** Why a device is none of a driver's, in the order of how much that tells. */
enum class EProbeRejection {
    eUnknown, ///< not known, or not any more
    eNotAsked, ///< it was not asked: another type's hint, or no address that can be asked
    eTooMany, ///< it was not asked: too many others wait for that
    eNoProxy, ///< the proxy on the way does not let us through, or is not there
    eNoSuchHost, ///< the name of the host has no address, or none that was told in time
    eNoRoute, ///< there is no way to the address, or a way says that nobody has it
    eSilent, ///< it does not take the connection, nor refuse it, in time
    eRefused, ///< it refuses the connection
    eSlow, ///< it takes the connection, and does not answer in time
    eAnswered ///< it answers, and not as a device of this driver
};

/**
 * What a node driver may implement besides INodeDriverComponent, when it knows why a device that it
 * probed is not its own.
 *
 * Programs reach it by a checked cast of the driver, on the database's thread.
 */
class NODEDB_EXPORT IProbeExplainer
{
public:
    IProbeExplainer() = default;
    IProbeExplainer(const IProbeExplainer&) = delete;
    IProbeExplainer& operator=(const IProbeExplainer&) = delete;
    virtual ~IProbeExplainer();

    /**
     * Returns why the driver answered a probe with -1; of requests that it accepted, never got, or
     * that are long past, eUnknown. It is known before that answer is given; a driver keeps the
     * last 1000 or so.
     */
    virtual EProbeRejection rejection(int requestId) const = 0;
};

} // namespace tq
