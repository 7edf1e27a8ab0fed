// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

namespace tq {

/**
 * What a target of NodeDB::save() may implement beside IPersistDestination, to put something else
 * in the place of nodes that cannot write themselves. NodeDB::save() finds it by a checked cast and
 * calls it on its own thread, under the registry lock for reading.
 *
 * With such a target a node that throws does not end the pass: it is told, and the pass goes on to
 * its sync(), in which the target decides. It must not throw from what is declared here.
 */
class NODEDB_EXPORT INodeEntryTarget
{
public:
    /** Who writes the entry of a node. */
    enum class EWriter {
        eNode,
        eTarget,
        eNobody, ///< there is none; the node's relations are left out with it
    };

    INodeEntryTarget() = default;
    INodeEntryTarget(const INodeEntryTarget&) = delete;
    INodeEntryTarget& operator=(const INodeEntryTarget&) = delete;
    virtual ~INodeEntryTarget();

    /** Returns who writes the entry of that node. Called once for each node, in ascending order of
     * ids, before its entry is selected, and before it is asked whether it should persist. */
    virtual EWriter writerOf(const NodeID& id) = 0;

    /** Writes the entry of a node for which writerOf() was eTarget; it is selected. */
    virtual void writeEntry(const NodeID& id) = 0;

    /** The node threw, or broke out of its entry, while it wrote it. What it wrote is inside of its
     * entry, but may be anything. A level 2 line has told why. */
    virtual void entryFailed(const NodeID& id) = 0;
};

} // namespace tq
