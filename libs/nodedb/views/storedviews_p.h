// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include <QList>

namespace tq {

class IPersistDestination;
class NodeView;

/** An entry as a store has it: an id, of a view or of a node. */
struct StoredEntry
{
    QString id;
    bool isView = false;
};

/** A view as a store has it: its entries by id. */
struct StoredView
{
    NodeViewID id;
    QString name;
    QList<StoredEntry> entries;
};

/** All views of a store. */
struct StoredViews
{
    QList<StoredEntry> top; ///< what stands in no other view
    QList<StoredView> views; ///< every view once
};

/** Writes what stands in `root`, and every view at whatever distance, into the current group. */
void writeViews(IPersistDestination* target, const NodeView& root);

/**
 * Adds what writeViews() wrote into the current group to `stored`, which keeps what was read before
 * the source threw. What says nothing of its view or node is left out; a level 2 line for each
 * array tells how many.
 */
void readViews(IPersistDestination* source, StoredViews& stored);

} // namespace tq
