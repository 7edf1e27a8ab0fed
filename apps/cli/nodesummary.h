// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/output.h"

#include <QJsonObject>
#include <QList>

namespace tq {
class Node;
class NodeDB;
class NodeHint;
} // namespace tq

namespace tq::cli {

/** Returns what a list says of a node, by property name: who it is and how it is reached. */
QJsonObject nodeSummary(const NodeDB& database, const Node& node);

/** Returns the columns of a list of such summaries. */
const QList<Column>& nodeColumns();

/** Returns what a hint says of its device, under the names of a node's properties. */
QJsonObject hintSummary(const NodeHint& hint);

} // namespace tq::cli
