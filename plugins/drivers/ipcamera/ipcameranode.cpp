// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/ipcameranode.h"

#include "drivers/ipcamera/onviffacts_p.h"
#include "parts/devicehints.h"

#include <memory>

namespace tq {

IPCameraNode::IPCameraNode(const QString& id)
    : IPDeviceNode(eIPCameraNode, id)
    , m_serialNumber(tr("Serial number"), this, QStringLiteral("SerialNumber"))
{
    m_serialNumber.createProperty(propertySet());
}

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
    const QString model = modelInfo();
    tq::takeOver(*this, hint);
    if (!softwareVersion().isEmpty() && !model.isEmpty())
        setModelInfo(model);
}

void IPCameraNode::fillHint(NodeHint& hint) const
{
    fillFrom(*this, hint);
}

QString IPCameraNode::serialNumber() const
{
    return m_serialNumber.value();
}

void IPCameraNode::setSerialNumber(const QString& number)
{
    m_serialNumber.set(number);
    markStale();
}

void IPCameraNode::takeOver(const OnvifFacts& facts)
{
    if (!facts.fullModel().isEmpty())
        setModelInfo(facts.fullModel());
    if (!facts.firmware.isEmpty())
        setSoftwareVersion(facts.firmware);
    if (!facts.serialNumber.isEmpty())
        setSerialNumber(facts.serialNumber);
    if (mac().isEmpty())
        setMac(facts.mac);
}

} // namespace tq
