// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/properties/baseproperty.h"

namespace tqgen {

BaseProperty::BaseProperty(const QString& name, const QString& description)
    : m_name(name), m_description(description)
{
}

BaseProperty::~BaseProperty() = default;

} // namespace tqgen
