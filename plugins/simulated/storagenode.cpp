// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/storagenode.h"

#include "parts/devicehints.h"

#include <QUrl>

#include <memory>

namespace tq {

StorageNode::StorageNode(const QString& id) : NASDeviceNode(eNetworkStorageNode, id) { }

Node* StorageNode::clone() const
{
    auto copy = std::make_unique<StorageNode>(id());
    deepCopy(copy.get());
    return copy.release();
}

bool StorageNode::isIdentical(const NodeHint& hint) const
{
    return isDeviceOf(*this, hint);
}

void StorageNode::updateFromHint(const NodeHint& hint)
{
    takeOver(*this, hint);
}

void StorageNode::fillHint(NodeHint& hint) const
{
    fillFrom(*this, hint);
}

QString StorageNode::shareUrl(const QString& share) const
{
    if (hostAddress().isEmpty() || !existsShare(share))
        return QString();
    QUrl url;
    url.setScheme(QStringLiteral("smb"));
    url.setHost(hostAddress());
    url.setPath(QLatin1Char('/') + share);
    return url.toString(QUrl::FullyEncoded);
}

float StorageNode::freeSpace() const
{
    return floatProperty(QStringLiteral("FreeCapacity"), 0);
}

} // namespace tq
