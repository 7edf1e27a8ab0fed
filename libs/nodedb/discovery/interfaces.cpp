// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Out-of-line destructors give each interface one vtable in this library: checked casts work
// between libraries.
#include "discovery/idevicereader.h"
#include "discovery/inodedrivercomponent.h"
#include "discovery/inodescanner.h"
#include "discovery/iprobeexplainer.h"

#include <QMetaType>

namespace tq {

namespace {

void registerDriverHandle()
{
    // Registered under its full name as well: drivers outside this namespace spell it so.
    const QMetaType type = QMetaType::fromType<tqm::smart<INodeDriverComponent>>();
    type.id(); // registers it under its own name
    QMetaType::registerNormalizedTypedef("tqm::smart<INodeDriverComponent>", type);
}

Q_CONSTRUCTOR_FUNCTION(registerDriverHandle)

} // namespace

INodeDriverComponent::~INodeDriverComponent() = default;

IInterface* INodeDriverComponent::getInterface(const std::string& name)
{
    if (name == "tq::IComponent")
        return static_cast<IComponent*>(this);
    if (name == "tq::ICanBeLocalized")
        return static_cast<ICanBeLocalized*>(this);
    return name == "tq::INodeDriverComponent" || name == "tq::IInterface" ? this : nullptr;
}

const IInterface* INodeDriverComponent::getInterface(const std::string& name) const
{
    return const_cast<INodeDriverComponent*>(this)->getInterface(name);
}

IDeviceReader::~IDeviceReader() = default;

IProbeExplainer::~IProbeExplainer() = default;

INodeScanner::~INodeScanner() = default;

IInterface* INodeScanner::getInterface(const std::string& name)
{
    return name == "INodeScanner" || name == "tq::IInterface" ? this : nullptr;
}

const IInterface* INodeScanner::getInterface(const std::string& name) const
{
    return const_cast<INodeScanner*>(this)->getInterface(name);
}

} // namespace tq
