// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istore.h"

#include <QByteArray>
#include <QString>

namespace tq {

/**
 * Returns why there cannot be a store at `path` in that mode, as a sentence; an empty text when
 * there can. `exists` tells whether there is one. Nothing is opened or created.
 */
QString whyNoStoreAt(const QString& path, OpenMode mode, bool& exists);

/** Returns the path itself, or what it leads to when it is a symbolic link. */
QString resolvedPath(const QString& path);

/** Returns "PATH: reason" for what a system call has just set errno to. */
QString systemError(const QString& path);

/**
 * Makes an empty file beside `path` that only its owner can read from its first moment, whatever
 * the umask. Returns its path; an empty text, with `error` set, when that fails.
 */
QString createPrivateFileBeside(const QString& path, QString& error);

/** Makes `content` the file at `path`: as a whole or not at all, durable when this returns,
 * readable by its owner only. Returns the error; an empty text when it worked. */
QString replaceFile(const QString& path, const QByteArray& content);

/**
 * Gives `temporary` the name `path`, durably, unless there is a file of that name. Returns the
 * error; an empty text when it worked. `temporary` is gone in both cases.
 */
QString moveIntoPlace(const QString& temporary, const QString& path);

/** Renames a file unless the new name is taken; errno tells why not. */
bool renameWithoutReplacing(const QString& from, const QString& to);

/** Makes the names in the folder of `path` durable. */
void syncFolderOf(const QString& path);

} // namespace tq
