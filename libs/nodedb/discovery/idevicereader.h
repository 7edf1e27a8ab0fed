// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include "platform/qtsignal.h"

namespace tq {

/**
 * What a node driver may implement besides INodeDriverComponent, when its devices tell more after a
 * login than a probe shows: the shares of a storage, say.
 *
 * Programs reach it by a checked cast of the node's driver, on the database's thread.
 */
class NODEDB_EXPORT IDeviceReader
{
public:
    IDeviceReader() = default;
    IDeviceReader(const IDeviceReader&) = delete;
    IDeviceReader& operator=(const IDeviceReader&) = delete;
    virtual ~IDeviceReader();

    /**
     * Begins to read the device of a node with the node's login, without blocking. Returns one
     * sentence when it cannot begin, else an empty text: then readFinishedSignal() comes, later and
     * once. What was read is put into the node inside an update bracket. While a read of that node
     * is open, another call joins it.
     */
    virtual QString readDevice(const NodeID& id) = 0;

    /**
     * Returns the signal (tq::NodeID id, QString error): the node holds what the device said, or
     * `error` is one sentence and the node is as it was. Emitted on the database's thread.
     */
    virtual QtSignal readFinishedSignal() = 0;
};

} // namespace tq
