// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

namespace tq {
class NodeView;
} // namespace tq

namespace tq::cli {

class Invocation;

/**
 * Draws what stands in a view as a tree, each entry being an item of the JSON document as well.
 *
 * A view that stands at several places is drawn at each, with what is in it only at the first one:
 * the output is as long as the views are, however many ways lead through them.
 */
void printViewTree(Invocation& call, const NodeView& view);

} // namespace tq::cli
