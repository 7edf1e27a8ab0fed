// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/nodehint.h"

#include "platform/macaddress.h"

namespace tq {

/** A device seen in the system's neighbour table. */
class NODEDB_EXPORT NodeHintFromARP : public NodeHintKind<NodeHintFromARP>
{
public:
    NodeHintFromARP();
    NodeHintFromARP(const QString& address, const MACAddress& mac);
    ~NodeHintFromARP() override;
    NodeHintFromARP(const NodeHintFromARP&) = default;
    NodeHintFromARP& operator=(const NodeHintFromARP&) = default;

    void writeAt(QTextStream& stream) const override;

    /** The IPv4 or IPv6 address in its usual text form. */
    QString address() const { return m_address; }
    void setAddress(const QString& address) { m_address = address; }

    MACAddress mac() const { return m_mac; }
    void setMac(const MACAddress& mac) { m_mac = mac; }

private:
    QString m_address;
    MACAddress m_mac;
};

} // namespace tq
