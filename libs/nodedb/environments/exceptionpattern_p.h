// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/testexport.h"

#include <QString>

namespace tq {

/**
 * Returns whether compiling `pattern` as a regular expression could take unbounded time or memory:
 * groups nested deeper than 50, counted repetitions along one nesting path that multiply to over
 * 10,000 or make over 100,000 copies, or over 1,000 parts in a row that may match nothing.
 */
TQ_TEST_EXPORT bool isExplosivePattern(const QString& pattern);

/** Returns why `pattern` matches nothing, as a sentence that names it; empty when it may match. */
TQ_TEST_EXPORT QString reasonForNoMatch(const QString& pattern);

/** Returns whether `pattern` matches the whole of `address`. Patterns with a reason for no match
 * match nothing, which the log says once for each. */
TQ_TEST_EXPORT bool matchesException(const QString& address, const QString& pattern);

} // namespace tq
