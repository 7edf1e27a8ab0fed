// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/ipcameranode.h"

#include "drivers/ipcamera/hintfacts_p.h"

#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"

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
    const HintFacts facts = factsOf(hint);
    if (!mac().isEmpty() && !facts.mac.isEmpty())
        return mac() == facts.mac;
    const QString host = hostAddress();
    return isSameHost(host, facts.address) || isSameHost(host, facts.secondAddress);
}

void IPCameraNode::updateFromHint(const NodeHint& hint)
{
    const HintFacts facts = factsOf(hint);
    const QString host = hostAddress();
    const bool isHere = isSameHost(host, facts.address) || isSameHost(host, facts.secondAddress);
    if (!facts.address.isEmpty() && !isHere)
        setHostAddress(facts.address);
    if (mac().isEmpty() && !facts.mac.isEmpty())
        setMac(facts.mac);
    const auto* const record = dynamic_cast<const NodeHintFromBonjour*>(&hint);
    if (!record)
        return;
    setServiceName(record->serviceName);
    setFullName(record->fullName);
    setBonjourAvailable(record->isAvailable != 0);
    if (record->isResolved != 0) {
        setPort(facts.endpoints.first().port);
        setSsl(facts.endpoints.first().ssl);
    }
    if (!facts.model.isEmpty())
        setModelInfo(facts.model);
}

void IPCameraNode::fillHint(NodeHint& hint) const
{
    hint.setName(name());
    hint.setNodeType(type());
    if (auto* const seen = dynamic_cast<NodeHintFromARP*>(&hint)) {
        seen->setAddress(hostAddress());
        seen->setMac(mac());
    } else if (auto* const record = dynamic_cast<NodeHintFromBonjour*>(&hint)) {
        record->serviceName = serviceName();
        record->fullName = fullName();
        record->isAvailable = bonjourAvailable() ? 1 : 0;
        record->address = hostAddress();
        record->port = quint16(port());
        record->ssl = ssl() ? 1 : 0;
        record->mac = mac();
        record->model = modelInfo();
    } else if (auto* const device = dynamic_cast<NodeHintIPDevice*>(&hint)) {
        device->setHostAddress(hostAddress());
        device->setPort(port());
        device->setSsl(ssl());
        device->setUser(user(false));
        device->setPassword(password(false));
        device->setSavePassword(savePassword());
        proxy().deepCopy(&device->proxy());
    }
}

} // namespace tq
