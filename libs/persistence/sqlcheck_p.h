// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

class QSqlDatabase;

namespace tq {

/** Returns whether a file of that size begins as an SQLite one and consists of whole pages. */
bool isWholeSqlite(const QByteArray& head, qint64 size);

/**
 * Returns why an open database is no sound store, as a sentence that names `path`; an empty text
 * when it is one. Everything is looked at but what the rows hold: every page, and that each number
 * in the tables is one that a store can have given.
 */
QString whyNotSound(const QSqlDatabase& database, const QString& path);

} // namespace tq
