// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/ipcameranode.h"

#include "drivers/ipcamera/onviffacts_p.h"

#include <memory>

namespace tq {

IPCameraNode::IPCameraNode(const QString& id)
    : RecognisingNode(eIPCameraNode, id)
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

void IPCameraNode::updateFromHint(const NodeHint& hint)
{
    const QString model = modelInfo();
    tq::takeOver(*this, hint);
    if (!softwareVersion().isEmpty() && !model.isEmpty())
        setModelInfo(model);
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
    if (!facts.reference.isEmpty())
        setEndpointReference(facts.reference);
    if (mac().isEmpty())
        setMac(facts.mac);
}

} // namespace tq
