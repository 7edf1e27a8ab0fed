// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

class QString;

namespace lab {

/**
 * Sends one command to the lab around this process and prints the answer. Returns the exit code: 0
 * for "ok", 1 for an error, 125 outside a lab.
 */
int tell(const QString& words);

} // namespace lab
