// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "shared/fakenode.h"

#include "discovery/nodehintipdevice.h"

namespace tst {

PlainNode::PlainNode(const QString& id, tq::ENodeType type)
    : Node(type, id)
    , login(QStringLiteral("Login"), this, tq::UserAndPassword(), QStringLiteral("Login"))
{
    setShouldPersist(true);
}

tq::Node* PlainNode::clone() const
{
    if (onClone)
        onClone();
    auto* const copy = new PlainNode(id(), type());
    deepCopy(copy);
    copy->onClone = onClone;
    copy->onName = onName;
    copy->onSave = onSave;
    return copy;
}

bool PlainNode::isIdentical(const tq::NodeHint& hint) const
{
    return !hint.name().isEmpty() && hint.name() == name();
}

void PlainNode::updateFromHint(const tq::NodeHint& hint)
{
    setModelInfo(hint.secondText());
}

void PlainNode::fillHint(tq::NodeHint& hint) const
{
    hint.setName(name());
}

QString PlainNode::name() const
{
    if (onName)
        onName();
    return Node::name();
}

void PlainNode::save(tq::IPersistDestination* target) const
{
    if (onSave)
        onSave();
    Node::save(target);
}

void PlainNode::updatePropertySet() const
{
    if (onRefresh)
        onRefresh();
    Node::updatePropertySet();
}

DeviceNode::DeviceNode(const QString& id, const QString& host, tq::ENodeType type)
    : IPDeviceNode(type, id)
{
    setHostAddress(host);
    setShouldPersist(true);
}

tq::Node* DeviceNode::clone() const
{
    auto* const copy = new DeviceNode(id(), QString(), type());
    deepCopy(copy);
    return copy;
}

void DeviceNode::updateFromHint(const tq::NodeHint& hint)
{
    setModelInfo(hint.secondText());
}

void DeviceNode::fillHint(tq::NodeHint& hint) const
{
    hint.setName(name());
}

StorageNode::StorageNode(const QString& id) : NASDeviceNode(k_storageType, id)
{
    setShouldPersist(true);
}

tq::Node* StorageNode::clone() const
{
    auto* const copy = new StorageNode(id());
    deepCopy(copy);
    return copy;
}

void StorageNode::updateFromHint(const tq::NodeHint& hint)
{
    setModelInfo(hint.secondText());
}

void StorageNode::fillHint(tq::NodeHint& hint) const
{
    hint.setName(name());
}

QString StorageNode::shareUrl(const QString& shareName) const
{
    return existsShare(shareName) ? QStringLiteral("smb://storage.test/") + shareName : QString();
}

float StorageNode::freeSpace() const
{
    return floatProperty(QStringLiteral("FreeCapacity"), 0);
}

} // namespace tst
