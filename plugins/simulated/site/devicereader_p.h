// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "simulated/site/fields_p.h"
#include "simulated/site/site.h"

namespace tq::site {

/** Reads what a site says of one device, which is to live among @p others; errors go to @p fields.
 */
DeviceSpec readDevice(Fields& fields, const QList<DeviceSpec>& others);

} // namespace tq::site
