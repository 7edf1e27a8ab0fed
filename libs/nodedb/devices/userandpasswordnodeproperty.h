// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/userandpassword.h"
#include "nodestore/nodeproperty.h"

namespace tq {

/**
 * A login as a node property. Its value lives, encoded, in the node's property set: with the save
 * flag clear the password is dropped at once.
 */
class NODEDB_EXPORT UserAndPasswordNodeProperty : public NodeProperty
{
public:
    UserAndPasswordNodeProperty(
        const QString& name, Node* node, const UserAndPassword& value, const QString& label);

    QString user() const;
    QString password() const;
    bool savePassword() const;
    void setUserAndPassword(const QString& user, const QString& password, bool savePassword);

    void save(IPersistDestination* target) const override;

    /** A missing key gives the record of construction, whatever the value was meanwhile. */
    void load(IPersistDestination* source) override;
    void createProperty(tqgen::PropertySet& set) const override;
    void setValue(const NodeProperty& other) override;

    /** Does nothing: the entry is always current. */
    void updatePropertySet(tqgen::PropertySet& set) const override;

    /** Changes nothing: the entry holds the value already. Returns whether the property is this
     * one. */
    bool updateField(const tqgen::BaseProperty& property) override;

private:
    UserAndPassword current() const;

    UserAndPassword m_initial;
};

} // namespace tq
