// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/properties/variantproperty.h"

namespace tqgen {

VariantProperty::VariantProperty(
    const QString& name, const QString& description, const QVariant& value)
    : BaseProperty(name, description), m_value(value)
{
}

QVariant VariantProperty::value() const
{
    return m_value;
}

bool VariantProperty::setValue(const QVariant& value)
{
    m_value = value;
    return true;
}

tqm::smart<BaseProperty> VariantProperty::clone() const
{
    return tqm::smart<BaseProperty>(new VariantProperty(*this));
}

} // namespace tqgen
