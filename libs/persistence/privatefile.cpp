// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/privatefile_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tq {

namespace {

/** Makes an open private file beside `path`; -1 with errno set when that fails. */
int openBeside(const QString& path, QByteArray& name)
{
    name = QFile::encodeName(path + QStringLiteral(".new-XXXXXX"));
    const int file = ::mkostemp(name.data(), O_CLOEXEC);
    if (file >= 0)
        ::fchmod(file, S_IRUSR | S_IWUSR); // a umask may have taken even these
    return file;
}

bool writeAll(int file, const QByteArray& content)
{
    const char* at = content.constData();
    const char* end = at + content.size();
    while (at < end) {
        const ssize_t written = ::write(file, at, std::size_t(end - at));
        if (written < 0 && errno != EINTR)
            return false;
        at += written < 0 ? 0 : written;
    }
    return ::fsync(file) == 0;
}

} // namespace

QString whyNoStoreAt(const QString& path, OpenMode mode, bool& exists)
{
    const QFileInfo file(path);
    const QFileInfo folder(file.absolutePath());
    exists = file.exists();
    if (exists) {
        if (!file.isFile())
            return QStringLiteral("%1 is not a file, so it cannot be a store.").arg(path);
        if (!file.isReadable())
            return QStringLiteral("The store %1 may not be read.").arg(path);
        if (file.size() == 0)
            return QStringLiteral("The store %1 is an empty file: its content is lost.").arg(path);
        if (mode == OpenMode::ReadWrite && !file.isWritable())
            return QStringLiteral("The store %1 may not be written.").arg(path);
    } else if (mode == OpenMode::ReadOnly) {
        return QStringLiteral("There is no store %1.").arg(path);
    }
    if (!folder.isDir())
        return QStringLiteral("The folder of the store %1 does not exist.").arg(path);
    if (mode == OpenMode::ReadWrite && !folder.isWritable())
        return QStringLiteral("The folder of the store %1 may not be written.").arg(path);
    return QString();
}

QString resolvedPath(const QString& path)
{
    const QString target = QFileInfo(path).canonicalFilePath();
    return target.isEmpty() ? QFileInfo(path).absoluteFilePath() : target;
}

QString systemError(const QString& path)
{
    return path + QStringLiteral(": ") + qt_error_string(errno);
}

QString createPrivateFileBeside(const QString& path, QString& error)
{
    QByteArray name;
    const int file = openBeside(path, name);
    if (file < 0) {
        error = systemError(path);
        return QString();
    }
    ::close(file);
    return QFile::decodeName(name);
}

QString replaceFile(const QString& path, const QByteArray& content)
{
    QByteArray name;
    const int file = openBeside(path, name);
    if (file < 0)
        return systemError(path);
    const bool written = writeAll(file, content);
    QString error = written ? QString() : systemError(path);
    if (::close(file) != 0 && written)
        error = systemError(path);
    if (error.isEmpty() && std::rename(name.constData(), QFile::encodeName(path).constData()) != 0)
        error = systemError(path);
    if (error.isEmpty())
        syncFolderOf(path);
    else
        ::unlink(name.constData());
    return error;
}

QString moveIntoPlace(const QString& temporary, const QString& path)
{
    if (renameWithoutReplacing(temporary, path)) {
        syncFolderOf(path);
        return QString();
    }
    const QString error = systemError(path);
    QFile::remove(temporary);
    return error;
}

bool renameWithoutReplacing(const QString& from, const QString& to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (::link(source.constData(), target.constData()) == 0)
        return ::unlink(source.constData()) == 0;
    if (errno == EEXIST || QFile::exists(to))
        return false;
    // Some file systems have no links.
    return std::rename(source.constData(), target.constData()) == 0;
}

void syncFolderOf(const QString& path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
    const int file = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0)
        return;
    ::fsync(file);
    ::close(file);
}

} // namespace tq
