// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// The out-of-line destructors below give each interface one vtable and type information in this
// library, so that checked casts work between libraries with hidden symbols.
#include "platform/component.h"
#include "platform/localizable.h"
#include "platform/persistdestination.h"

namespace tq {

IInterface::~IInterface() = default;

IComponent::~IComponent() = default;

ICanBeLocalized::~ICanBeLocalized() = default;

bool ICanBeLocalized::setLocale(const QLocale&)
{
    return false;
}

IPersistDestination::~IPersistDestination() = default;

IInterface* IPersistDestination::getInterface(const std::string& name)
{
    return name == "tq::IPersistDestination" || name == "tq::IInterface" ? this : nullptr;
}

const IInterface* IPersistDestination::getInterface(const std::string& name) const
{
    return const_cast<IPersistDestination*>(this)->getInterface(name);
}

} // namespace tq
