// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/storelock.h"

#include "persistence/privatefile_p.h"
#include "persistence/storefactory.h"
#include "persistence/storeplace_p.h"
#include "platform/logline.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tq {

namespace {

constexpr int k_flags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
constexpr mode_t k_ownerOnly = S_IRUSR | S_IWUSR;

/** What the holder of a lock tells of itself: process, program and host, a line each, which is what
 * QLockFile writes, whose files of this name older programs know. */
struct Holder
{
    qint64 process = 0;
    QString program;
    QString host;
    bool isEmpty = true; ///< nothing is written
};

Holder holderIn(int file)
{
    std::array<char, 1024> buffer{};
    const auto size = ::pread(file, buffer.data(), buffer.size(), 0);
    const QByteArray content(buffer.data(), size > 0 ? qsizetype(size) : 0);
    const QList<QByteArray> lines = content.split('\n');
    Holder result;
    result.isEmpty = content.isEmpty();
    result.process = lines[0].toLongLong();
    result.program = QString::fromUtf8(lines.value(1).left(64));
    result.host = QString::fromUtf8(lines.value(2));
    return result;
}

void writeHolder(int file)
{
    const Holder before = holderIn(file);
    if (!before.isEmpty && before.process <= 0)
        return; // somebody's own file has this name: locked like any other, but left as it is
    const QByteArray content = QByteArray::number(::getpid()) + '\n'
        + QCoreApplication::applicationName().toUtf8() + '\n' + QSysInfo::machineHostName().toUtf8()
        + '\n';
    // A courtesy: without it the lock is held all the same.
    if (::ftruncate(file, 0) == 0
        && ::pwrite(file, content.constData(), size_t(content.size()), 0) < 0)
        logLine(Log::eProgress, "Store: the lock's file does not tell who holds it.");
}

QString busyError(const QString& path, int file)
{
    const Holder holder = holderIn(file);
    // The one before, when the new one has not written yet.
    const bool isGone = holder.host == QSysInfo::machineHostName()
        && ::kill(pid_t(holder.process), 0) != 0 && errno == ESRCH;
    QString who = QStringLiteral("another program");
    if (holder.process > 0 && !isGone) {
        who = QStringLiteral("process %1").arg(holder.process);
        if (!holder.program.isEmpty())
            who += QStringLiteral(" (%1)").arg(escapedForLog(holder.program));
    }
    return QStringLiteral("The store %1 is being changed by %2; try again when it has ended.")
        .arg(path, who);
}

/** Makes the file readable and writable for its owner, who runs this program: a umask, with which a
 * program was killed while it made the file, must not lock everybody out. */
bool repairRights(const QByteArray& name)
{
    const int file = ::open(name.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    struct stat status = {};
    const bool isOurs = file >= 0 && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode)
        && status.st_uid == ::geteuid();
    const QByteArray self = "/proc/self/fd/" + QByteArray::number(file);
    const bool isDone = isOurs && ::chmod(self.constData(), k_ownerOnly) == 0;
    if (file >= 0)
        ::close(file);
    return isDone;
}

/** The administrator's lock must not shut out the one whom the store belongs to. */
void giveToOwner(int file, const QString& store)
{
    struct stat status = {};
    const bool isKnown = ::stat(QFile::encodeName(store).constData(), &status) == 0
        || ::stat(QFile::encodeName(QFileInfo(store).path()).constData(), &status) == 0;
    if (::geteuid() == 0 && isKnown && ::fchown(file, status.st_uid, status.st_gid) != 0)
        logLine(Log::eProgress, "Store: the lock's file stays the administrator's: ", store);
}

/** Returns a descriptor of the file, which is made when there is none; -1 with errno. */
int openSideFile(const QByteArray& name, const QString& store)
{
    // Two steps: in folders that everybody may write to, systems refuse to "make" another's file.
    int file = ::open(name.constData(), k_flags);
    if (file < 0 && errno == ENOENT) {
        file = ::open(name.constData(), k_flags | O_CREAT | O_EXCL, k_ownerOnly);
        if (file >= 0) {
            ::fchmod(file, k_ownerOnly); // a umask may have taken even these
            giveToOwner(file, store);
        }
    } else if (file < 0 && errno == EACCES) {
        file = repairRights(name) ? ::open(name.constData(), k_flags) : -1;
    }
    return file;
}

/** Returns whether the name still leads to the open file: one that was removed or replaced before
 * it was locked locks nothing. */
bool isStillNamed(int file, const QByteArray& name)
{
    struct stat opened = {};
    struct stat named = {};
    return ::fstat(file, &opened) == 0 && ::lstat(name.constData(), &named) == 0
        && opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

/** Returns a descriptor of the locked file beside the store, or -1 with the reason in `error`. */
int lockedSideFile(const QString& store, QString& error)
{
    const QString path = store + QStringLiteral(".lock");
    const QByteArray name = QFile::encodeName(path);
    const auto failed = [&](const QString& reason) {
        error = QStringLiteral("The store %1 may not be changed, as it could not be locked: %2")
                    .arg(store, reason);
        return -1;
    };
    constexpr int k_mostTries = 100; // others that make and remove such files all the time
    for (int i = 0; i < k_mostTries; ++i) {
        const int file = openSideFile(name, store);
        if (file < 0 && errno == EEXIST)
            continue;
        if (file < 0)
            return failed(systemError(path));
        struct stat status = {};
        const bool isFile = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
        const int reason = isFile && ::flock(file, LOCK_EX | LOCK_NB) != 0 ? errno : 0;
        if (isFile && reason == 0 && isStillNamed(file, name))
            return file;
        if (reason == EWOULDBLOCK)
            error = busyError(store, file);
        ::close(file);
        if (!isFile)
            return failed(path + QStringLiteral(" is not a file."));
        if (reason == EWOULDBLOCK)
            return -1;
        errno = reason;
        if (reason != 0 && reason != EINTR)
            return failed(systemError(path));
    }
    return failed(path + QStringLiteral(" is replaced all the time."));
}

} // namespace

std::unique_ptr<StoreLock> StoreLock::take(const QString& urlOrPath, QString* error, OpenMode mode)
{
    const QString store = resolvedStore(urlOrPath);
    const QString path = storeFilePath(store);
    bool exists = false;
    QString reason;
    int file = -1;
    if (!path.isEmpty()) {
        reason = whyNoStoreAt(path, mode, exists);
        if (reason.isEmpty())
            file = lockedSideFile(path, reason);
        if (reason.isEmpty())
            reason = whyNotChangeable(store);
    }
    std::unique_ptr<StoreLock> lock(new StoreLock(store, file));
    if (reason.isEmpty() && file >= 0)
        writeHolder(file);
    if (error)
        *error = reason;
    if (!reason.isEmpty())
        lock.reset();
    return lock;
}

StoreLock::~StoreLock()
{
    if (m_file >= 0)
        ::close(m_file); // and with it the lock
}

} // namespace tq
