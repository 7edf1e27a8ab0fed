// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace tq {

/**
 * Returns why the file of a store must not be changed where it is, as a sentence; an empty text
 * when it may: it has several names that no lock and no journal sees together, or it is an SQLite
 * store on a file system whose locks SQLite cannot rely on. The store is named as resolvedStore()
 * does and need not exist.
 */
QString whyNotChangeable(const QString& store);

} // namespace tq
