// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

namespace tst {

/**
 * Moves the process into a network namespace of its own, where only the loopback interface is up:
 * what it starts contacts nobody. To be called first in main(), before there are threads. Returns
 * whether this machine allows it.
 */
bool enterOwnNetwork();

} // namespace tst
