// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "nodestore/nodepropertybag.h"

#include <algorithm>
#include <utility>

namespace tq {

void NodePropertyBag::add(NodeProperty* property)
{
    m_properties.append(property);
}

const NodeProperty* NodePropertyBag::operator[](const QString& name) const
{
    const auto found = std::find_if(m_properties.begin(), m_properties.end(),
        [&](const NodeProperty* property) { return property->name() == name; });
    return found == m_properties.end() ? nullptr : *found;
}

NodeProperty* NodePropertyBag::operator[](const QString& name)
{
    return const_cast<NodeProperty*>(std::as_const(*this)[name]);
}

void NodePropertyBag::save(IPersistDestination* target) const
{
    for (const NodeProperty* property : m_properties)
        property->save(target);
}

void NodePropertyBag::load(IPersistDestination* source)
{
    for (NodeProperty* property : std::as_const(m_properties))
        property->load(source);
}

bool NodePropertyBag::updateField(const tqgen::BaseProperty& property)
{
    NodeProperty* const own = (*this)[property.name()];
    return own && own->updateField(property);
}

void NodePropertyBag::updatePropertySet(tqgen::PropertySet& set) const
{
    for (const NodeProperty* property : m_properties)
        property->updatePropertySet(set);
}

void NodePropertyBag::deepCopy(NodePropertyBag& target) const
{
    for (const NodeProperty* property : m_properties) {
        if (NodeProperty* const other = target[property->name()])
            other->setValue(*property);
    }
}

} // namespace tq
