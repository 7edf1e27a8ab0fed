// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "simulated/site/site.h"

namespace lab {

/**
 * Keeps the first @p count devices of a site; more than it has are made after its pattern, with
 * names and addresses that are still free, but without shares. False when the segment has no room
 * for them.
 */
[[nodiscard]] bool resize(tq::site::Site& site, int count);

/** Returns which device keeps a site out of the lab, which has one segment; empty when none does.
 */
QString refusalOf(const tq::site::Site& site);

/** Moves a site to 127.0.77.x, and ports below 1024 up by the nearest thousands: 8080, 8443. */
void moveToLoopback(tq::site::Site& site);

} // namespace lab
