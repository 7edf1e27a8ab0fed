// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodedb/nodedb_export.h"

#include <QString>

namespace tq {

/**
 * What stands in a view: a node, by its id (NodeEntry), or another view (NodeView). Held by shared
 * handles; tqm::smart<NodeView> and tqm::smart<NodeEntry> made of one tell which of both it is.
 */
class NODEDB_EXPORT NodeViewEntry
{
public:
    NodeViewEntry(const NodeViewEntry&) = delete;
    NodeViewEntry& operator=(const NodeViewEntry&) = delete;
    virtual ~NodeViewEntry();

    /** Returns the id of the node or of the view; never changes. */
    virtual QString id() const = 0;

protected:
    NodeViewEntry() = default;
};

} // namespace tq
