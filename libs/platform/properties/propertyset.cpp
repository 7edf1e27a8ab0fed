// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/properties/propertyset.h"

#include <algorithm>
#include <utility>

namespace tqgen {

PropertySet::PropertySet(const PropertySet& other) : m_positions(other.m_positions)
{
    m_properties.reserve(other.m_properties.size());
    for (const auto& property : other.m_properties)
        m_properties.append(property->clone());
}

PropertySet& PropertySet::operator=(const PropertySet& other)
{
    PropertySet copy(other);
    return *this = std::move(copy);
}

void PropertySet::add(const tqm::smart<BaseProperty>& property)
{
    if (property.null())
        return;
    const auto known = m_positions.constFind(property->name());
    if (known != m_positions.constEnd()) {
        m_properties[*known] = property;
        return;
    }
    m_positions.insert(property->name(), m_properties.size());
    m_properties.append(property);
}

const BaseProperty* PropertySet::find(const QString& name) const
{
    const auto known = m_positions.constFind(name);
    return known == m_positions.constEnd() ? nullptr : m_properties.at(*known).get();
}

BaseProperty* PropertySet::find(const QString& name)
{
    return const_cast<BaseProperty*>(std::as_const(*this).find(name));
}

bool PropertySet::setValue(const QString& name, const QVariant& value)
{
    BaseProperty* const property = find(name);
    return property && property->setValue(value);
}

QStringList PropertySet::names() const
{
    QStringList result;
    result.reserve(m_properties.size());
    for (const auto& property : m_properties)
        result.append(property->name());
    return result;
}

void PropertySet::clear()
{
    m_properties.clear();
    m_positions.clear();
}

bool PropertySet::operator==(const PropertySet& other) const
{
    const auto same = [](const auto& a, const auto& b) {
        return a->name() == b->name() && a->value() == b->value();
    };
    return std::equal(m_properties.begin(), m_properties.end(), other.m_properties.begin(),
        other.m_properties.end(), same);
}

} // namespace tqgen
