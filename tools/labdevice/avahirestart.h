// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/gathering.h"

namespace lab {

/** Asks the keeper of the near side's Avahi, which listens on the pipes in @p folder, to end that
 * and start it again. */
void restartAvahi(const QString& folder, const Done& done);

} // namespace lab
