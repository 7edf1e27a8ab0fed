// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodeproperty.h"

#include "platform/properties/properties.h"

namespace tq {

/** A node property of a plain type: int, bool, QString, float or QRect. */
template <class T>
class SimpleNodeProperty : public NodeProperty
{
public:
    SimpleNodeProperty(const QString& label, Node* node, const QString& name, const T& value = T())
        : NodeProperty(label, node, name), m_carrier(new Carrier(name, label, value))
    {
        propertySet().add(m_carrier);
    }

    T value() const { return m_carrier->get(); }
    void set(const T& value) { m_carrier->set(value); }

    void save(IPersistDestination* target) const override
    {
        target->setValue(name(), QVariant(value()));
    }

    void load(IPersistDestination* source) override
    {
        set(source->value(name(), QVariant(value())).template value<T>());
    }

    void createProperty(tqgen::PropertySet& set) const override { set.add(m_carrier->clone()); }

    void setValue(const NodeProperty& other) override
    {
        if (const auto* same = dynamic_cast<const SimpleNodeProperty*>(&other))
            set(same->value());
    }

    void updatePropertySet(tqgen::PropertySet& set) const override
    {
        set.setValue(name(), QVariant(value()));
    }

    bool updateField(const tqgen::BaseProperty& property) override
    {
        return property.name() == name() && m_carrier->setValue(property.value());
    }

private:
    using Carrier = tqgen::ValueProperty<T>;
    tqm::smart<Carrier> m_carrier;
};

} // namespace tq
