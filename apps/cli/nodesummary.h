// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/output.h"

#include <QJsonObject>
#include <QList>

#include <functional>

namespace tq {
class Node;
class NodeDB;
class NodeHint;
} // namespace tq

namespace tq::cli {

/** Lets `call` use a node, which is a plug-in's. Refused, with a sentence that names node and
 * driver, when it throws. */
Outcome callNode(const NodeDB& database, const Node& node, const std::function<Outcome()>& call);

/**
 * Returns what a list says of a node, by property name: who it is and how it is reached. Under
 * "Error" stands why there is nothing more, or not all.
 */
QJsonObject nodeSummary(const NodeDB& database, const Node& node);

/** Returns the columns of a list of such summaries; one of errors only when there is any. */
QList<Column> nodeColumns(const QList<QJsonObject>& summaries = {});

/** Returns what a hint says of its device, under the names of a node's properties. */
QJsonObject hintSummary(const NodeHint& hint);

} // namespace tq::cli
