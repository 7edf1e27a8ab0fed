// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "nodestore/inodeentrytarget.h"

namespace tq {

INodeEntryTarget::~INodeEntryTarget() = default;

} // namespace tq
