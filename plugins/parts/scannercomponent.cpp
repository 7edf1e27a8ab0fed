// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/scannercomponent.h"

namespace tq {

ScannerComponent::ScannerComponent() = default;

ScannerComponent::~ScannerComponent() = default;

IInterface* ScannerComponent::getInterface(const std::string& name)
{
    if (name == "tq::IComponent")
        return static_cast<IComponent*>(this);
    return INodeScanner::getInterface(name);
}

const IInterface* ScannerComponent::getInterface(const std::string& name) const
{
    return const_cast<ScannerComponent*>(this)->getInterface(name);
}

QtSignal ScannerComponent::newHintSignal()
{
    return QtSignal(this, SIGNAL(newHint(const tq::NodeHint&)));
}

QtSignal ScannerComponent::hintChangedSignal()
{
    return QtSignal(this, SIGNAL(hintChanged(const tq::NodeHint&)));
}

QtSignal ScannerComponent::hintGoneSignal()
{
    return QtSignal(this, SIGNAL(hintGone(const tq::NodeHint&)));
}

} // namespace tq
