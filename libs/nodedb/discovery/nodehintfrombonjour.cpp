// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintfrombonjour.h"

#include <QTextStream>

namespace tq {

namespace {

ENodeType typeOf(int serviceKind)
{
    switch (serviceKind) {
    case 1:
        return eIPCameraNode;
    case 2:
        return eNetworkStorageNode;
    default:
        return eAnyNodeType;
    }
}

} // namespace

NodeHintFromBonjour::NodeHintFromBonjour(const SServiceInfo& info) : SServiceInfo(info)
{
    setNodeType(typeOf(info.serviceKind));
    setThirdText(info.address);
    setSecondText(info.fullName);
}

NodeHintFromBonjour::~NodeHintFromBonjour() = default;

void NodeHintFromBonjour::writeAt(QTextStream& stream) const
{
    // kept: this very text
    stream << "NodeHintFromBonjour (Todo: implement better ;))";
}

} // namespace tq
