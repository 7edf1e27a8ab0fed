// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodedb/nodedb_export.h"

#include <QMetaType>
#include <QString>

namespace tq {

/** Identifies a node. Given by the node's creator; an empty id is never valid. */
typedef QString NodeID;

/** Identifies a node view: a UUID in braces. */
typedef QString NodeViewID;

/** Identifies an environment: a UUID in braces; ids read from a store are taken as they are. */
typedef QString EnvironmentID;

/**
 * The type of a node. Each value belongs to one node driver; the values here are those that the
 * library and the shipped drivers use.
 */
enum ENodeType : int {
    eAnyNodeType = -1, ///< in queries: every type; in hints: not known
    eRecordingFolderNode = 0,
    eIPCameraNode = 2,
    eNetworkStorageNode = 4,
};

/** The kind of a directed relation between two nodes. */
enum ENodeRelationType : int {
    eDeviceToRecordingFolder = 1, ///< views hide the destinations of this one
    eRecordingFolderToDevice = 2,
};

/** The run-time state of a node; values beyond 0 belong to the node drivers. */
enum ENodeState : int { eInitialNodeState = 0 };

/** Which service created or detected a node. */
enum ENodeCreationService : int {
    eUnknownService = 0,
    eARPService = 1,
    eManualService = 2, ///< entered by a person: changed hints never overwrite such a node
    eDNSSDService = 3,
    eWSDiscoveryService = 4,
};

/** The preview mode of new recording transponders; its values belong to the application. */
enum EPreviewType : int { eDefaultPreviewType = 3 };

} // namespace tq
