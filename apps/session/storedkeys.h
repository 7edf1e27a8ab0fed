// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace tq::stored {

// The names in a stored database that the session reads raw.
inline const QString k_nodesGroup = QStringLiteral("GlobalNodes");
inline const QString k_nodes = QStringLiteral("Nodes");
inline const QString k_id = QStringLiteral("ID");
inline const QString k_type = QStringLiteral("NodeType");
inline const QString k_shouldPersist = QStringLiteral("ShouldPersist");
inline const QString k_relationsGroup = QStringLiteral("NodeRelations");
inline const QString k_relations = QStringLiteral("Relations");
inline const QString k_from = QStringLiteral("NodeFrom");
inline const QString k_to = QStringLiteral("NodeTo");
inline const QString k_relationType = QStringLiteral("RelationType");

} // namespace tq::stored
