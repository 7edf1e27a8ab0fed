// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/recordingfolder/recordingfolderdriver.h"

#include "drivers/recordingfolder/recordingfoldernode.h"
#include "drivers/recordingfolder/recordingfolders.h"

#include "discovery/nodehintipdevice.h"

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
    return insertRecordingFolder(hint);
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
