// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

namespace tq {

class NodeHint;

/**
 * Makes the recording folder that `hint` describes, gives it to the database, and returns its id:
 * the hint's third text is the id of the device that records, its second text the path, else the
 * folder is the global one. A NodeHintIPDevice gives its login as well. A hint without a device and
 * one whose id is taken are refused with a level 2 log line and a null string.
 */
NodeID insertRecordingFolder(const NodeHint& hint);

} // namespace tq
