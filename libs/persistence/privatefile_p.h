// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istore.h"

#include <QString>

namespace tq {

/**
 * Returns why there cannot be a store at `path` in that mode, as a sentence; an empty text when
 * there can. `exists` tells whether there is one. Nothing is opened or created.
 */
QString whyNoStoreAt(const QString& path, OpenMode mode, bool& exists);

/** Returns the path without symbolic links, absolute; the file, and what a link leads to, need not
 * exist. */
QString resolvedPath(const QString& path);

/** Returns "PATH: reason" for what a system call has just set errno to. */
QString systemError(const QString& path);

/**
 * A folder beside a store in which a new content is made, with an empty file in it. Only its owner
 * can enter it, whatever the umask. It goes with the object; what a killed process left goes when
 * the next one is made for the same store.
 */
class PrivateFolder
{
public:
    /** Makes the folder beside `path`; `error` is set when that fails. */
    PrivateFolder(const QString& path, QString& error);
    ~PrivateFolder();
    Q_DISABLE_COPY_MOVE(PrivateFolder)

    QString file() const { return m_path + QStringLiteral("/store"); }

private:
    QString m_path;
    int m_lock = -1; ///< an open descriptor: the folder is in use
};

/** Makes the content of the file `from` durable and gives it the name `path`, in place of what has
 * that name. Returns the error; an empty text when it worked. */
[[nodiscard]] QString replaceFile(const QString& from, const QString& path);

/** Gives the file `from`, whose content is durable, the name `path`, unless that is taken. Returns
 * the error; an empty text when it worked. */
[[nodiscard]] QString moveIntoPlace(const QString& from, const QString& path);

/** Renames a file unless the new name is taken; errno tells why not. */
[[nodiscard]] bool renameWithoutReplacing(const QString& from, const QString& to);

/** Makes the names in the folder of `path` durable, after that file was given its name. Returns why
 * they may not be, as a sentence; an empty text when they are. */
[[nodiscard]] QString syncFolderOf(const QString& path);

} // namespace tq
