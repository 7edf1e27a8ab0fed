// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintfromarp.h"

#include <QTextStream>

namespace tq {

NodeHintFromARP::NodeHintFromARP() = default;

NodeHintFromARP::NodeHintFromARP(const QString& address, const MACAddress& mac)
    : m_address(address), m_mac(mac)
{
}

NodeHintFromARP::~NodeHintFromARP() = default;

void NodeHintFromARP::writeAt(QTextStream& stream) const
{
    // kept: this very text
    stream << "NodeHintFromARP (Todo: implement better ;))";
}

} // namespace tq
