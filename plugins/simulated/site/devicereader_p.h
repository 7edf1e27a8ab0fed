// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "simulated/site/fields_p.h"
#include "simulated/site/site.h"

#include <QHash>
#include <QSet>

namespace tq::site {

/** What no second device of a site may have. */
struct Taken
{
    QSet<QString> names;
    QHash<quint32, QString> addresses; ///< and whose they are
    QHash<QString, QString> macs;
};

/** Reads what a site says of one device, and notes what it takes; errors go to @p fields. */
DeviceSpec readDevice(Fields& fields, Taken& taken);

} // namespace tq::site
