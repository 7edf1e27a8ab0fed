// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/testexport.h"

#include <QString>

namespace tq {

/**
 * Returns whether compiling `pattern`, or matching an address of 255 characters, could take much
 * longer than some 10 ms: counted repetitions that write out to over 10,000 characters, choices
 * that keep too many of them open at once, or groups nested deeper than 1,000, which could overflow
 * the stack. Long texts, lists of hosts and plain nested groups cost what their length costs.
 */
TQ_TEST_EXPORT bool isExplosivePattern(const QString& pattern);

/** Returns why `pattern` matches nothing, as a sentence that names it; empty when it may match. */
TQ_TEST_EXPORT QString reasonForNoMatch(const QString& pattern);

/** Returns whether `pattern` matches the whole of `address`. Patterns with a reason for no match
 * match nothing, which the log says once for each. */
TQ_TEST_EXPORT bool matchesException(const QString& address, const QString& pattern);

} // namespace tq
