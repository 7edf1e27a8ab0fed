// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/recordingfolder/recordingfolderdriver.h"

#include "drivers/recordingfolder/recordingfoldernode.h"

#include "discovery/nodehintipdevice.h"
#include "nodestore/nodedb.h"

#include "platform/logline.h"

#include <memory>

namespace tq {

namespace {

constexpr int k_priority = 10;
constexpr int k_notOurs = -1;

} // namespace

bool RecordingFolderDriver::supportsNodeType(ENodeType type, int* priority)
{
    if (type != eRecordingFolderNode)
        return false;
    *priority = k_priority;
    return true;
}

QString RecordingFolderDriver::readableNodeTypeName(ENodeType)
{
    return tr("Recording folder");
}

Node* RecordingFolderDriver::createNode(ENodeType type)
{
    return type == eRecordingFolderNode ? new RecordingFolderNode(QString()) : nullptr;
}

NodeID RecordingFolderDriver::createNodeFromHint(const NodeHint& hint)
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
    node->setName(hint.name().isEmpty() ? tr("Recording folder") : hint.name());
    node->setPath(hasPath ? hint.secondText() : db->globalRecordingFolderPath());
    node->setShouldPersist(true);
    db->insertNode(node.release());
    return id;
}

int RecordingFolderDriver::probe(int, const NodeHint&)
{
    return k_notOurs;
}

QtSignal RecordingFolderDriver::probeFinishedSignal()
{
    return QtSignal(this, SIGNAL(probeFinished(int, tqm::smart<INodeDriverComponent>, int)));
}

QString RecordingFolderDriver::driverName() const
{
    return QStringLiteral("recordingfolder");
}

tqm::smart<NodeHint> RecordingFolderDriver::createNodeHint(ENodeType type)
{
    tqm::smart<NodeHint> hint(new NodeHintIPDevice);
    hint->setNodeType(type);
    return hint;
}

} // namespace tq
