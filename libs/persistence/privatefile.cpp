// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/privatefile_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tq {

namespace {

/** Opens a folder and locks it; -1 when that fails, or when another holds it. A new one counts as
 * locked where the file system has no locks: there nothing is taken for abandoned either. */
int lockedFolder(const QString& path, bool isNew)
{
    const int folder = ::open(
        QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0 || ::flock(folder, LOCK_EX | LOCK_NB) == 0 || (isNew && errno != EWOULDBLOCK))
        return folder;
    ::close(folder);
    return -1;
}

/** Removes the folders whose paths start so and whose makers are gone: those hold their locks as
 * long as they live. */
void removeAbandoned(const QString& start)
{
    const QFileInfo pattern(start);
    const QDir parent(pattern.path());
    const auto kinds = QDir::Dirs | QDir::Hidden | QDir::NoSymLinks | QDir::NoDotAndDotDot;
    for (const QFileInfo& folder : parent.entryInfoList(kinds)) {
        if (!folder.fileName().startsWith(pattern.fileName()) || folder.ownerId() != ::geteuid())
            continue;
        const int lock = lockedFolder(folder.filePath(), false);
        if (lock < 0)
            continue;
        QDir(folder.filePath()).removeRecursively();
        ::close(lock);
    }
}

} // namespace

QString whyNoStoreAt(const QString& path, OpenMode mode, bool& exists)
{
    const QFileInfo file(path);
    const QFileInfo folder(file.absolutePath());
    struct stat state = {};
    exists = ::stat(QFile::encodeName(path).constData(), &state) == 0;
    // What cannot be looked at is not absent: a new store would take its place.
    if (!exists && errno != ENOENT && errno != ENOTDIR)
        return QStringLiteral("The store %1 cannot be read: %2").arg(path, qt_error_string(errno));
    if (exists) {
        if (!file.isFile())
            return QStringLiteral("%1 is not a file, so it cannot be a store.").arg(path);
        if (!file.isReadable())
            return QStringLiteral("The store %1 may not be read.").arg(path);
        if (file.size() == 0)
            return QStringLiteral("The store %1 is an empty file: its content is lost.").arg(path);
        if (mode != OpenMode::ReadOnly && !file.isWritable())
            return QStringLiteral("The store %1 may not be written.").arg(path);
    } else if (mode != OpenMode::Create) {
        return QStringLiteral("There is no store %1.").arg(path);
    }
    if (!folder.isDir())
        return QStringLiteral("The folder of the store %1 does not exist.").arg(path);
    if (mode != OpenMode::ReadOnly && !folder.isWritable())
        return QStringLiteral("The folder of the store %1 may not be written.").arg(path);
    return QString();
}

QString resolvedPath(const QString& path)
{
    constexpr int k_mostLinks = 40; // as the kernel has it
    QFileInfo file(path);
    for (int i = 0; i < k_mostLinks && !file.exists() && file.isSymLink(); ++i) {
        // Not QFileInfo's: that one takes "x/.." away where x may be a link itself.
        std::error_code error;
        const auto name = std::filesystem::path(QFile::encodeName(file.filePath()).toStdString());
        const auto target = name.parent_path() / std::filesystem::read_symlink(name, error);
        file.setFile(QFile::decodeName(target.c_str()));
    }
    const QString known = file.canonicalFilePath();
    const QString folder = QFileInfo(file.path()).canonicalFilePath();
    if (!known.isEmpty() || folder.isEmpty())
        return known.isEmpty() ? file.absoluteFilePath() : known;
    return QDir(folder).filePath(file.fileName());
}

QString systemError(const QString& path)
{
    return path + QStringLiteral(": ") + qt_error_string(errno);
}

PrivateFolder::PrivateFolder(const QString& path, QString& error)
{
    const QFileInfo target(path);
    const QString start =
        target.path() + QStringLiteral("/.") + target.fileName() + QStringLiteral(".nodedb-");
    removeAbandoned(start);
    // Another process may take the new folder for an abandoned one just before it is locked.
    for (int tries = 0; tries < 10 && m_lock < 0; ++tries) {
        QByteArray name = QFile::encodeName(start + QStringLiteral("XXXXXX"));
        if (!::mkdtemp(name.data()))
            break;
        ::chmod(name.constData(), S_IRWXU); // a umask may have taken even these
        m_path = QFile::decodeName(name);
        m_lock = lockedFolder(m_path, true);
        if (m_lock >= 0 && !QFileInfo::exists(m_path))
            ::close(std::exchange(m_lock, -1));
    }
    const int made = m_lock < 0 ? -1
                                : ::open(QFile::encodeName(file()).constData(),
                                    O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (made < 0 || ::fchmod(made, S_IRUSR | S_IWUSR) != 0)
        error = systemError(path);
    if (made >= 0)
        ::close(made);
}

PrivateFolder::~PrivateFolder()
{
    if (!m_path.isEmpty())
        QDir(m_path).removeRecursively();
    if (m_lock >= 0)
        ::close(m_lock);
}

QString replaceFile(const QString& from, const QString& path)
{
    const QByteArray source = QFile::encodeName(from);
    const int file = ::open(source.constData(), O_WRONLY | O_CLOEXEC);
    bool isDone = file >= 0 && ::fsync(file) == 0;
    if (file >= 0)
        isDone = ::close(file) == 0 && isDone;
    isDone = isDone && std::rename(source.constData(), QFile::encodeName(path).constData()) == 0;
    return isDone ? QString() : systemError(path);
}

QString moveIntoPlace(const QString& from, const QString& path)
{
    return renameWithoutReplacing(from, path) ? QString() : systemError(path);
}

bool renameWithoutReplacing(const QString& from, const QString& to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    // In one step, or a kill leaves a file with two names.
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE)
        == 0)
        return true;
    if (errno == EEXIST)
        return false;
    if (::link(source.constData(), target.constData()) == 0)
        return ::unlink(source.constData()) == 0;
    if (errno == EEXIST || QFile::exists(to))
        return false;
    // Some file systems have no links.
    return std::rename(source.constData(), target.constData()) == 0;
}

QString syncFolderOf(const QString& path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
    const int file = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // Some file systems keep names durable by themselves and cannot be asked to.
    const bool isDone = file >= 0 && (::fsync(file) == 0 || errno == EINVAL);
    const QString reason = isDone ? QString() : qt_error_string(errno);
    if (file >= 0)
        ::close(file);
    if (isDone)
        return QString();
    return QStringLiteral("The file %1 was written, but a power failure may undo that: %2")
        .arg(path, reason);
}

} // namespace tq
