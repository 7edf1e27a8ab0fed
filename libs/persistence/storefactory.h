// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istore.h"
#include "persistence/persistence_export.h"

#include <QString>

#include <memory>

namespace tq {

/**
 * Opens a store.
 *
 * `urlOrPath` is "sqlite:FILE", "ini:FILE" or "memory:", or a plain path that ends in .db or
 * .sqlite (SQLite) or in .ini or .conf (INI).
 *
 * Returns null, and one sentence that names the value or the path in `error` (may be null), when
 * the store cannot be used: an unknown kind, a missing store that is not to be created, a folder
 * that does not exist or cannot be written, a file that cannot be read or is not a sound store.
 * Such a file is left as it is. For writing, a file with more than one hard link or mounted by
 * itself is refused as well, and so is an SQLite store on a network file system: changes could be
 * lost there.
 *
 * A program that saves over what it has loaded takes a StoreLock first.
 */
[[nodiscard]] PERSISTENCE_EXPORT std::unique_ptr<IStore> openStore(
    const QString& urlOrPath, QString* error = nullptr, OpenMode mode = OpenMode::ReadWrite);

/** Returns the path of the file behind `urlOrPath`; empty when it names none. */
PERSISTENCE_EXPORT QString storeFilePath(const QString& urlOrPath);

/** Returns the name of the same store with its kind and the file that symbolic links lead to, which
 * need not exist, such as "sqlite:/srv/devices.db"; `urlOrPath` itself when it names no file. */
PERSISTENCE_EXPORT QString resolvedStore(const QString& urlOrPath);

/**
 * Moves the file of a store that cannot be read to "<path>.corrupt-<UTC time>", with what belongs
 * to it, so that a new one can be begun. The store must not be open. Returns the new path; an empty
 * text, with the reason in `error` (may be null), when it could not be moved. A new path and an
 * error: a power failure may undo the move.
 */
[[nodiscard]] PERSISTENCE_EXPORT QString moveCorruptStoreAside(
    const QString& urlOrPath, QString* error = nullptr);

} // namespace tq
