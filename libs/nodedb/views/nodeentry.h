// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"
#include "views/nodeviewentry.h"

namespace tq {

/** A node in a view. The database need not know the node: its driver may be missing today. */
class NODEDB_EXPORT NodeEntry final : public NodeViewEntry
{
public:
    explicit NodeEntry(const NodeID& id);
    ~NodeEntry() override;

    NodeID id() const override;

private:
    NodeID m_id;
};

} // namespace tq
