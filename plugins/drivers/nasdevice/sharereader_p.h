// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
//
// Uses libsmbclient, which is under the GPL, version 3 or later: a program or component that this
// is linked into is under it as well when it is handed on.
#pragma once

#include "drivers/nasdevice/sharereading_p.h"
#include "drivers/nasdevice/smbrelay_p.h"

namespace tq {

/** Asks the storage behind a relay. Blocks until it answered or the relay was cut: for a thread of
 * its own, one at a time in a process. */
ShareAnswer readShares(const ShareQuestion& question, quint16 relayPort, SmbTraffic& traffic);

} // namespace tq
