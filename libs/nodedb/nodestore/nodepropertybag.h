// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodeproperty.h"

#include <QList>

namespace tq {

/** The extra properties of one node, in the order of add(). Does not own them: the node's members
 * do. */
class NODEDB_EXPORT NodePropertyBag
{
public:
    void add(NodeProperty* property);

    /** Returns the property of that name; null when there is none. */
    NodeProperty* operator[](const QString& name);
    const NodeProperty* operator[](const QString& name) const;

    void save(IPersistDestination* target) const;
    void load(IPersistDestination* source);

    /** Hands an edited property to the entry of the same name. Returns whether one took it. */
    bool updateField(const tqgen::BaseProperty& property);

    void updatePropertySet(tqgen::PropertySet& set) const;

    /** Copies every value into the entry of the same name in `target`. */
    void deepCopy(NodePropertyBag& target) const;

    const QList<NodeProperty*>& properties() const { return m_properties; }

private:
    QList<NodeProperty*> m_properties;
};

} // namespace tq
