// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "parts/devicehints.h"
#include "parts/devicemarks.h"

namespace tq {

/**
 * An IP device node that recognises its device by the rule that all shipped nodes share:
 * isDeviceOf(). `Base` is IPDeviceNode or a class derived from it.
 *
 * Whoever sets the address confirms it in the active environment, even where it stays the same.
 */
template <class Base>
class RecognisingNode : public Base, public DeviceMarks
{
public:
    RecognisingNode(ENodeType type, const QString& id) : Base(type, id), DeviceMarks(this)
    {
        createProperties(this->propertySet());
    }

    /** Recognises hints of every kind. */
    bool isIdentical(const NodeHint& hint) const override { return isDeviceOf(*this, hint); }

    /** Fills hints of every kind; the login of the active user only where the address is confirmed.
     */
    void fillHint(NodeHint& hint) const override { fillFrom(*this, hint); }

    void confirmAddress() override
    {
        DeviceMarks::confirmAddress();
        this->markStale();
    }

    void setEndpointReference(const QString& reference) override
    {
        DeviceMarks::setEndpointReference(reference);
        this->markStale();
    }

    void setHostAddress(const QString& address) override
    {
        Base::setHostAddress(address);
        confirmAddress();
    }

    void forgetAddress(const EnvironmentID& environment) override
    {
        Base::forgetAddress(environment);
        forgetMark(environment);
    }

    bool updateField(const tqgen::BaseProperty& property) override
    {
        const bool isTaken = Base::updateField(property);
        if (isTaken && property.name() == QLatin1String("IP"))
            confirmAddress();
        return isTaken;
    }

    void updatePropertySet() const override
    {
        updateProperties(this->propertySet());
        Base::updatePropertySet();
    }

    void deepCopy(Node* target) const override
    {
        Base::deepCopy(target);
        copyMarks(*static_cast<RecognisingNode*>(target));
    }

    void save(IPersistDestination* target) const override
    {
        Base::save(target);
        saveMarks(target);
    }

    void load(IPersistDestination* source) override
    {
        Base::load(source);
        loadMarks(source);
        this->markStale();
    }

    void moveWithMembers(QThread* thread) override
    {
        Base::moveWithMembers(thread);
        moveMarks(thread);
    }
};

} // namespace tq
