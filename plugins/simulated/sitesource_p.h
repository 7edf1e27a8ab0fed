// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "simulated/devicedirectory_p.h"

#include <QDateTime>

namespace tq {

/** The site that is simulated: that of the file which the loader's option "simulated/site" names.
 */
class SiteSource
{
public:
    /**
     * Reads the file, unless it is the one that was read last and has not changed since. Returns
     * one sentence when it cannot be used: the site is empty then.
     */
    QString refresh();

    const DeviceDirectory& devices() const { return m_devices; }

private:
    QString m_path;
    QDateTime m_changed;
    QString m_error;
    DeviceDirectory m_devices;
};

} // namespace tq
