// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/nodeviewentry.h"

namespace tq {

NodeViewEntry::~NodeViewEntry() = default;

} // namespace tq
