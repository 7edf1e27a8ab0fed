// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodedb/nodedb_export.h"

#include "platform/persistdestination.h"
#include "platform/properties/propertyset.h"

namespace tq {

class Node;

/**
 * One extra, persisted, typed value of a node.
 *
 * It is a member of the node's class and registers itself with the node's bag, which does not own
 * it.
 */
class NODEDB_EXPORT NodeProperty
{
public:
    /** `label` is translated already; `name` is the key in property sets and stores, unique in the
     * node. */
    NodeProperty(const QString& label, Node* node, const QString& name);
    virtual ~NodeProperty();
    NodeProperty(const NodeProperty&) = delete;
    NodeProperty& operator=(const NodeProperty&) = delete;

    virtual QString name() const;

    /** Writes the value under name() into the current group. */
    virtual void save(IPersistDestination* target) const = 0;

    /** Reads the value; a missing key keeps what was there. */
    virtual void load(IPersistDestination* source) = 0;

    /** Adds a property that carries the current value to `set`. */
    virtual void createProperty(tqgen::PropertySet& set) const = 0;

    /** Takes the value of `other`, a property of the same kind. */
    virtual void setValue(const NodeProperty& other) = 0;

    /** Writes the current value into the property of this name in `set`, if there is one. */
    virtual void updatePropertySet(tqgen::PropertySet& set) const = 0;

    /** Takes the value from an edited property of the same name. Returns whether it was for this
     * one. */
    virtual bool updateField(const tqgen::BaseProperty& property) = 0;

    /** Returns the set that holds the one property which carries the value. */
    const tqgen::PropertySet& propertySet() const { return m_propertySet; }
    tqgen::PropertySet& propertySet() { return m_propertySet; }

protected:
    QString label() const { return m_label; }
    Node* node() const { return m_node; }

    /**
     * For properties whose value lives in the node's own property set and is not touched by the
     * node's refresh: creates the entry, reads it, writes it, under the lock of the node's set.
     */
    void createInNode();
    QVariant valueInNode() const;
    void setValueInNode(const QVariant& value);

private:
    void registerWithNode();

    QString m_label;
    Node* m_node;
    QString m_name;
    tqgen::PropertySet m_propertySet;
};

} // namespace tq
