// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/devicedirectory_p.h"

#include <QHostAddress>

namespace tq {

DeviceDirectory::DeviceDirectory(const site::Site& site) : m_site(site)
{
    // Those that have an address from the start come before those that move there.
    for (qsizetype place = 0; place < m_site.devices.size(); ++place) {
        const site::DeviceSpec& device = m_site.devices.at(place);
        m_places.insert(device.mac, place);
        m_places.insert(device.address.toString(), place);
    }
    for (qsizetype place = 0; place < m_site.devices.size(); ++place) {
        for (const site::AddressChange& change : m_site.devices.at(place).changes) {
            if (!m_places.contains(change.address.toString()))
                m_places.insert(change.address.toString(), place);
        }
    }
}

const site::DeviceSpec* DeviceDirectory::find(const HintFacts& facts) const
{
    if (const auto known = m_places.constFind(facts.mac.toString()); known != m_places.cend())
        return &m_site.devices.at(*known);
    const site::DeviceSpec* const device = at(facts.address);
    return device ? device : at(facts.secondAddress);
}

const site::DeviceSpec* DeviceDirectory::at(const QString& address) const
{
    const auto known = m_places.constFind(QHostAddress(address).toString());
    return known == m_places.cend() ? nullptr : &m_site.devices.at(*known);
}

} // namespace tq
