// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include <QCoreApplication>

namespace tq {

class NodeDB;

/** What it takes several nodes, their relations and a driver to do. */
class NODEDB_EXPORT NodeDBHelper
{
    Q_DECLARE_TR_FUNCTIONS(tq::NodeDBHelper)

public:
    /**
     * Returns the id of the device's recording folder: the stored node of type 0 that the device
     * has a relation of type 1 to; else one without such a relation that names the device in the
     * third text of its hints: its relations were lost. The smallest id if there are several, a
     * null string if there is none. Changes nothing. Any thread.
     */
    static NodeID recordingFolder(const NodeDB& database, const NodeID& deviceId);

    /**
     * Returns the id of the device's recording folder, and has the driver of type 0 make one when
     * there is none yet: named after the device, with the global recording folder's path, which may
     * be empty, and login, both as they are now. The driver is handed them in a hint of its own
     * kind that no signal carries: the path as second, the device's id as third text, the login
     * where that is a NodeHintIPDevice.
     *
     * The relations of type 1, from the device to the folder, and of type 2, back, are added where
     * they are missing; beyond that a folder which is there already stays as it is.
     *
     * A null string, after a level 2 log line that names the device and says why, means that there
     * is no folder, and nothing of one unless a slot acquired it: then it goes at the last release.
     * The device may be unknown or a recording folder itself, the driver may have failed or
     * returned anything but a new node of type 0, or a slot may have removed device or folder, or
     * freed the database. When there is no such driver that line is the level 3 line
     * "Node driver (RecordingFolderNode) is missing".
     *
     * On the database's thread. The device is acquired meanwhile, so that a slot that removes it
     * only puts the removal off to the end; a folder that was just made is removed with it then.
     * The database emits its signals for what is inserted, related and removed.
     */
    static NodeID createRecordingFolder(NodeDB& database, const NodeID& deviceId);
};

} // namespace tq
