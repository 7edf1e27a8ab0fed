// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/nodeentry.h"

namespace tq {

NodeEntry::NodeEntry(const NodeID& id) : m_id(id) { }

NodeEntry::~NodeEntry() = default;

NodeID NodeEntry::id() const
{
    return m_id;
}

} // namespace tq
