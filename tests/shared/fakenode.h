// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/nasdevicenode.h"
#include "devices/userandpasswordnodeproperty.h"

#include <functional>

namespace tst {

/** Node types of the fakes. */
constexpr auto k_plainType = tq::ENodeType(7);
constexpr auto k_deviceType = tq::ENodeType(8);
constexpr auto k_storageType = tq::ENodeType(9);

/** A node that is no device, with a login property. Its hooks can be replaced to misbehave. */
class PlainNode : public tq::Node
{
    Q_OBJECT

public:
    explicit PlainNode(const QString& id, tq::ENodeType type = k_plainType);

    tq::Node* clone() const override;
    bool isIdentical(const tq::NodeHint& hint) const override;
    void updateFromHint(const tq::NodeHint& hint) override;
    void fillHint(tq::NodeHint& hint) const override;
    QString name() const override;
    void save(tq::IPersistDestination* target) const override;
    void updatePropertySet() const override;

    tq::UserAndPasswordNodeProperty login;
    std::function<void()> onClone; ///< runs at the start of clone(); copied into the copy
    std::function<void()> onName;
    std::function<void()> onSave;
    std::function<void()> onRefresh; ///< runs at the start of updatePropertySet(); not copied
};

/** An IP device that takes the host of a changed hint. */
class DeviceNode : public tq::IPDeviceNode
{
    Q_OBJECT

public:
    explicit DeviceNode(
        const QString& id, const QString& host = QString(), tq::ENodeType type = k_deviceType);

    tq::Node* clone() const override;
    void updateFromHint(const tq::NodeHint& hint) override;
    void fillHint(tq::NodeHint& hint) const override;
};

/** A network storage at storage.test. */
class StorageNode : public tq::NASDeviceNode
{
    Q_OBJECT

public:
    explicit StorageNode(const QString& id);

    tq::Node* clone() const override;
    void updateFromHint(const tq::NodeHint& hint) override;
    void fillHint(tq::NodeHint& hint) const override;
    QString shareUrl(const QString& shareName) const override;
    float freeSpace() const override;
};

} // namespace tst
