// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/recordingfolder/recordingfolders.h"

#include "drivers/recordingfolder/recordingfoldernode.h"

#include "discovery/nodehintipdevice.h"
#include "nodestore/nodedb.h"

#include "platform/logline.h"

#include <memory>

namespace tq {

NodeID insertRecordingFolder(const NodeHint& hint)
{
    if (hint.thirdText().isEmpty()) {
        logLine(Log::eSurvived, "No device is named, no recording folder made: ", hint.name());
        return QString();
    }
    NodeDB* const db = NodeDB::getDB();
    const QString id = RecordingFolderNode::idFor(hint.thirdText());
    if (!db->node(id).null()) {
        logLine(Log::eSurvived, "There is a node with this id already: ", id);
        return QString();
    }
    const bool hasPath = !hint.secondText().isEmpty();
    auto node = std::make_unique<RecordingFolderNode>(id);
    node->setName(
        hint.name().isEmpty() ? RecordingFolderNode::tr("Recording folder") : hint.name());
    node->setPath(hasPath ? hint.secondText() : db->globalRecordingFolderPath());
    const auto* const given = dynamic_cast<const NodeHintIPDevice*>(&hint);
    if (given && !(given->user().isEmpty() && given->password().isEmpty()))
        node->setLogin({ given->user(), given->password(), given->savePassword() });
    node->setShouldPersist(true);
    db->insertNode(node.release());
    return id;
}

} // namespace tq
