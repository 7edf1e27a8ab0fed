// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include "platform/component.h"
#include "platform/localizable.h"
#include "platform/qtsignal.h"
#include "platform/smart.h"

namespace tq {

class Node;
class NodeHint;

/**
 * What a node-driver plug-in implements: it makes, names and probes the nodes of its types.
 *
 * Found by the loader under the interface name "tq::INodeDriverComponent". The database asks it on
 * its own thread and keeps it as long as it lives. During supportsNodeType() the database is still
 * being made: do not use it there.
 */
class NODEDB_EXPORT INodeDriverComponent : public virtual IComponent, public virtual ICanBeLocalized
{
public:
    ~INodeDriverComponent() override;
    IInterface* getInterface(const std::string& name) override;
    const IInterface* getInterface(const std::string& name) const override;

    /**
     * Returns whether the driver can handle `type`, and writes how strongly it claims it: a smaller
     * positive number is a stronger claim, 0 none in particular. Asked once per type from 0 to 22.
     */
    virtual bool supportsNodeType(ENodeType type, int* priority) = 0;

    /** Returns the translated name of `type` for people. */
    virtual QString readableNodeTypeName(ENodeType type) = 0;

    /** Returns a new node of `type`, not inserted, owned by the caller; null when it cannot make
     * one. */
    virtual Node* createNode(ENodeType type) = 0;

    /**
     * Makes the node that `hint` describes and inserts it into the database. Returns its id, or a
     * null string when it did not. The to-do list is locked meanwhile for other threads.
     */
    virtual NodeID createNodeFromHint(const NodeHint& hint) = 0;

    /**
     * Starts to find out whether `hint` is a device of this driver, without blocking. Returns 1
     * when it certainly is, -1 when it is not, another number but 0 as a rank (the smallest wins),
     * or 0 when the answer will come through probeFinishedSignal() with the same `requestId`. A
     * driver of several types is asked once for each. `hint` is valid during the call only.
     */
    virtual int probe(int requestId, const NodeHint& hint) = 0;

    /** Returns the signal (int requestId, tqm::smart<INodeDriverComponent> driver, int result) of
     * deferred answers. */
    virtual QtSignal probeFinishedSignal() = 0;

    /** Returns a short name that programs show, such as "ipcamera". */
    virtual QString driverName() const = 0;

    /** Returns a new, empty hint of the kind that describes devices of `type`. */
    virtual tqm::smart<NodeHint> createNodeHint(ENodeType type) = 0;
};

} // namespace tq
