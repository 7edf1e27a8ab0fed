// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace tq::stored {

// The top-level groups of a stored database, in the order written, the names inside the last two,
// and those of a node's entry that tell whose it is and whether it should be there.
inline const QString k_environment = QStringLiteral("Environment");
inline const QString k_globalFields = QStringLiteral("GlobalFields");
inline const QString k_recordingFolder = QStringLiteral("GlobalRecordingFolderPath");
inline const QString k_transponder = QStringLiteral("DefaultRecordingTransponder");
inline const QString k_globalProxy = QStringLiteral("GlobalProxy");
inline const QString k_authentication = QStringLiteral("GlobalAuthentication");
inline const QString k_globalNodes = QStringLiteral("GlobalNodes");
inline const QString k_nodes = QStringLiteral("Nodes");
inline const QString k_nodeId = QStringLiteral("ID");
inline const QString k_nodeType = QStringLiteral("NodeType");
inline const QString k_shouldPersist = QStringLiteral("ShouldPersist");
inline const QString k_nodeRelations = QStringLiteral("NodeRelations");
inline const QString k_relations = QStringLiteral("Relations");
inline const QString k_nodeFrom = QStringLiteral("NodeFrom");
inline const QString k_relationType = QStringLiteral("RelationType");
inline const QString k_nodeTo = QStringLiteral("NodeTo");

} // namespace tq::stored
