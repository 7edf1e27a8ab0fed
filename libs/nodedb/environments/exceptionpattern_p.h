// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/testexport.h"

#include <QString>

namespace tq {

/**
 * Returns whether compiling `pattern` as a regular expression could take unbounded time or memory:
 * groups nested deeper than 50, or counted repetitions along one nesting path that multiply to over
 * 10,000.
 */
TQ_TEST_EXPORT bool isExplosivePattern(const QString& pattern);

/** Returns whether `pattern` matches the whole of `address`. Invalid and explosive patterns match
 * nothing. */
TQ_TEST_EXPORT bool matchesException(const QString& address, const QString& pattern);

} // namespace tq
