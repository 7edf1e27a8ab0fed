// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/nodeview.h"

namespace tq::cli {

class Invocation;

/** Prints views as the rows of a table; "In" are the ids of all views that a row's stands in. */
void printViewRows(Invocation& call, const QList<tqm::smart<NodeView>>& rows);

/**
 * Draws what stands in a view as a tree, each entry being an item of the JSON document as well.
 *
 * A view that stands at several places is drawn at each, with what is in it only at the first one:
 * the output is as long as the views are, however many ways lead through them. In the document such
 * a view is "Repeated" at the other places; "Under" is the id of the view that an item is drawn in.
 */
void printViewTree(Invocation& call, const NodeView& view);

} // namespace tq::cli
