// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace tq {
class Node;
class NodeDB;
} // namespace tq

namespace tq::cli {

/**
 * Returns why `node`, as it is to become, would be one device with another node of the database: a
 * sentence that names that node. Two devices have neither one MAC nor, in one environment, one
 * address and port. Only what stands in `edited`, names of properties, is looked at. Empty when
 * there is nothing against it.
 */
QString conflictError(const NodeDB& database, const Node& node, const QStringList& edited);

} // namespace tq::cli
