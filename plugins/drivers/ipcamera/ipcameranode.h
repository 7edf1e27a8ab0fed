// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "parts/recognisingnode.h"

namespace tq {

struct OnvifFacts;

/** A network camera, or any device that answers like one. */
class IPCameraNode : public RecognisingNode<IPDeviceNode>
{
    Q_OBJECT

public:
    explicit IPCameraNode(const QString& id);

    Node* clone() const override;

    /**
     * Takes over a changed address, the MAC while none is known, and what a DNS-SD record says; not
     * the model that it names once the device itself has told more. IPv4 is never given up for IPv6
     * while the record has both.
     */
    void updateFromHint(const NodeHint& hint) override;

    QString serialNumber() const override;
    void setSerialNumber(const QString& number);

    /** Takes over what the device says of itself: what it leaves out stays, and so does a known
     * MAC. */
    void takeOver(const OnvifFacts& facts);

private:
    SimpleNodeProperty<QString> m_serialNumber;
};

} // namespace tq
