// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/iprobeexplainer.h"

#include <QString>

namespace tq::cli {

/** Returns why no driver took the device of a probe: what tells most of what the drivers know. */
EProbeRejection rejectionOf(int requestId);

/** Returns one sentence for people about a device that was entered, and what they may try. */
QString rejectionText(EProbeRejection reason, const QString& address);

} // namespace tq::cli
