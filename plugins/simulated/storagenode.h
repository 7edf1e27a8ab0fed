// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/nasdevicenode.h"

namespace tq {

/** A network storage that was found on the network; its shares are reached over SMB. */
class StorageNode : public NASDeviceNode
{
    Q_OBJECT

public:
    explicit StorageNode(const QString& id);

    Node* clone() const override;
    bool isIdentical(const NodeHint& hint) const override;
    void updateFromHint(const NodeHint& hint) override;
    void fillHint(NodeHint& hint) const override;
    QString shareUrl(const QString& share) const override;
    float freeSpace() const override;
};

} // namespace tq
