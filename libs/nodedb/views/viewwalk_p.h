// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/nodeview.h"

namespace tq {

/** Returns every view that stands below `root`, each once: a view before what is first met in it,
 * and all of that before its next neighbour. */
QList<tqm::smart<NodeView>> viewsBelow(const NodeView& root);

} // namespace tq
