// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "environments/environmentspecificnodedata.h"
#include "nodestore/simplenodeproperty.h"

namespace tq {

/**
 * By what a node recognises its device, besides what every IP device node keeps; a base of
 * RecognisingNode.
 *
 * An address is confirmed in an environment when a person enters it there, and when the device is
 * met there and says who it is. A new environment takes over the values of the one before; so what
 * is kept for each environment is the id of the environment in which its address was confirmed, and
 * that counts only where it is the environment's own.
 */
class DeviceMarks
{
public:
    explicit DeviceMarks(Node* node);
    virtual ~DeviceMarks();
    Q_DISABLE_COPY_MOVE(DeviceMarks)

    /** Returns whether the node's address was confirmed in the active environment. */
    bool isAddressConfirmed() const;

    /** Notes that the address is the device's in the active environment. */
    virtual void confirmAddress();

    /** Returns the device's endpoint reference in WS-Discovery; empty while it is not known. */
    QString endpointReference() const { return m_reference.value(); }
    virtual void setEndpointReference(const QString& reference);

    /** Returns the device's serial number; empty where none is known. */
    virtual QString serialNumber() const { return QString(); }

protected:
    void createProperties(tqgen::PropertySet& set) const;
    void updateProperties(tqgen::PropertySet& set) const;
    void forgetMark(const QString& environment);
    void copyMarks(DeviceMarks& target) const;
    void saveMarks(IPersistDestination* target) const;

    /** In an entry that tells nothing of it, the address is the active environment's. */
    void loadMarks(IPersistDestination* source);
    void moveMarks(QThread* thread);

private:
    EnvironmentSpecificNodeData<QString> m_confirmedIn;
    SimpleNodeProperty<QString> m_reference;
};

} // namespace tq
