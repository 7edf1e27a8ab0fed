// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "parts/hintfacts.h"
#include "simulated/site/site.h"

#include <QHash>

namespace tq {

/** Finds the device of a site that a hint is of. Moves with the site that it keeps. */
class DeviceDirectory
{
public:
    DeviceDirectory() = default;
    explicit DeviceDirectory(const site::Site& site);

    const site::Site& site() const { return m_site; }

    /**
     * Returns the device with the MAC, else the one that has, or will have, one of the addresses;
     * null when there is none. It lives as long as the directory.
     */
    const site::DeviceSpec* find(const HintFacts& facts) const;

private:
    const site::DeviceSpec* at(const QString& address) const;

    site::Site m_site;
    QHash<QString, qsizetype> m_places; ///< by MAC and by address, as texts
};

} // namespace tq
