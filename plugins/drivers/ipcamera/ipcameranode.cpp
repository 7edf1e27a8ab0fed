// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/ipcameranode.h"

#include "parts/devicehints.h"

#include <memory>

namespace tq {

IPCameraNode::IPCameraNode(const QString& id) : IPDeviceNode(eIPCameraNode, id) { }

Node* IPCameraNode::clone() const
{
    auto copy = std::make_unique<IPCameraNode>(id());
    deepCopy(copy.get());
    return copy.release();
}

bool IPCameraNode::isIdentical(const NodeHint& hint) const
{
    return isDeviceOf(*this, hint);
}

void IPCameraNode::updateFromHint(const NodeHint& hint)
{
    takeOver(*this, hint);
}

void IPCameraNode::fillHint(NodeHint& hint) const
{
    fillFrom(*this, hint);
}

} // namespace tq
