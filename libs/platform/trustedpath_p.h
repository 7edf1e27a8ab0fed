// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/testexport.h"

#include <QString>

namespace tq::plugin {

/**
 * Returns why code at `path` (a file or a folder) must not be loaded, in words; an empty text when
 * it may be.
 *
 * Trusted owners are root, the user, and inside a user namespace the overflow user. Nobody but the
 * owner may be able to write: others never, the group only when the owner is its one member.
 */
TQ_TEST_EXPORT QString whyNotTrusted(const QString& path);

} // namespace tq::plugin
