// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "contract/filestorecontract.h"

#include "contract/scripts.h"
#include "shared/files.h"
#include "shared/logcapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace tst;

namespace {

QByteArray failingFolder; ///< the folder whose sync fails

/** Returns what a sync returns in place of the system's: an error for that one folder. */
int synced(int descriptor, long call)
{
    struct stat file = {};
    struct stat failing = {};
    if (::stat(failingFolder.constData(), &failing) != 0 || ::fstat(descriptor, &file) != 0
        || file.st_ino != failing.st_ino)
        return int(::syscall(call, descriptor));
    errno = EIO;
    return -1;
}

} // namespace

// These stand for the system's own in every library of this program.
extern "C" Q_DECL_EXPORT int fsync(int descriptor)
{
    return synced(descriptor, SYS_fsync);
}

extern "C" Q_DECL_EXPORT int fdatasync(int descriptor)
{
    return synced(descriptor, SYS_fdatasync);
}

void FileStoreContract::anotherProcessReadsTheSame()
{
    auto store = open();
    writeDevices(*store, 3);
    store->sync();
    store->endReading();
    QProcess reader;
    reader.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--dump"), m_url });
    QVERIFY(reader.waitForFinished());
    QCOMPARE(QString::fromUtf8(reader.readAllStandardOutput()).split(QLatin1Char('\n')),
        flat(store->tree()));
}

void FileStoreContract::nothingIsDurableBeforeSync()
{
    auto store = open();
    store->setValue(QStringLiteral("A"), 1);
    QVERIFY(!QFile::exists(m_path));
    store->sync();
    store->setValue(QStringLiteral("A"), 2);
    store->remove(QStringLiteral("B"));
    QCOMPARE(open(tq::OpenMode::ReadOnly)->value(QStringLiteral("A")), QVariant(1));
    store.reset();
    QCOMPARE(open()->value(QStringLiteral("A")), QVariant(1));
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), QStringList{ m_fileName });
}

void FileStoreContract::aKilledWriterLeavesTheOldContent_data()
{
    QTest::addColumn<bool>("isNew");
    QTest::newRow("a store with content") << false;
    QTest::newRow("no store yet") << true;
}

void FileStoreContract::aKilledWriterLeavesTheOldContent()
{
    QFETCH(bool, isNew);
    if (!isNew) {
        const auto store = open();
        store->setValue(QStringLiteral("Old"), QStringLiteral("kept"));
        writeDevices(*store, 500);
        store->sync();
    }
    const QStringList before = isNew ? QStringList() : flat(open()->tree());
    QProcess writer;
    writer.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--write"), m_url });
    QVERIFY(writer.waitForReadyRead());
    writer.kill();
    QVERIFY(writer.waitForFinished());
    QCOMPARE(QFile::exists(m_path), !isNew);
    if (!isNew)
        QCOMPARE(flat(open(tq::OpenMode::ReadOnly)->tree()), before);
    const auto store = open();
    QCOMPARE(flat(store->tree()), before);
    store->setValue(QStringLiteral("Old"), 1);
    store->sync();
    const auto all = QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot;
    QCOMPARE(QDir(m_folder->path()).entryList(all), QStringList{ m_fileName });
}

void FileStoreContract::abandonedFoldersAreRemoved()
{
    const QDir folder(m_folder->path());
    const QString start = QStringLiteral(".%1.nodedb-").arg(m_fileName);
    const QStringList names{ start + QStringLiteral("gone"), start + QStringLiteral("used"),
        QStringLiteral(".other.nodedb-gone") };
    for (const QString& name : names) {
        QVERIFY(folder.mkdir(name));
        write(folder.filePath(name + QStringLiteral("/store")), "");
    }
    const int used = ::open(qPrintable(folder.filePath(names[1])), O_RDONLY | O_DIRECTORY);
    QCOMPARE(::flock(used, LOCK_EX), 0);
    const auto others = [&folder] {
        return folder.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
    };
    const auto first = open();
    const auto second = open();
    first->setValue(QStringLiteral("A"), 1);
    second->setValue(QStringLiteral("A"), 2);
    first->sync();
    QVERIFY2(first->isUsable(), qPrintable(first->errorString()));
    second->sync();
    QCOMPARE(others(), QStringList({ names[1], names[2] }));
    ::close(used);
}

void FileStoreContract::filesAreTheOwnersAlone()
{
    const auto verify = [this] {
        const auto files =
            QDir(m_folder->path())
                .entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        for (const QFileInfo& file : files) {
            struct stat state = {};
            QCOMPARE(::stat(qPrintable(file.filePath()), &state), 0);
            QCOMPARE(int(state.st_mode & 0777), file.isDir() ? 0700 : 0600);
        }
    };
    const auto before = ::umask(0);
    auto store = open();
    for (int i = 0; i < 2; ++i) {
        writeDevices(*store, 2000);
        verify();
        store->sync();
        verify();
        store->remove(QStringLiteral("Devices"));
    }
    store.reset();
    ::umask(0777);
    m_path += QStringLiteral(".new.") + QFileInfo(m_fileName).suffix();
    m_url = m_urlStart + m_path;
    store = open();
    store->setValue(QStringLiteral("A"), 1);
    store->sync();
    ::umask(before);
    verify();
}

void FileStoreContract::damagedFilesAreRefusedAndLeft_data()
{
    using Damage = std::function<void(QByteArray&)>;
    QTest::addColumn<Damage>("damage");
    QTest::newRow("empty") << Damage([](QByteArray& bytes) { bytes.clear(); });
    QTest::newRow("half") << Damage([](QByteArray& bytes) { bytes.truncate(bytes.size() / 2); });
    QTest::newRow("a byte short") << Damage([](QByteArray& bytes) { bytes.chop(1); });
    QTest::newRow("zeros in its head")
        << Damage([](QByteArray& bytes) { bytes[16] = bytes[17] = 0; });
    QTest::newRow("a bit in its first line") << Damage([](QByteArray& bytes) { bytes[3] = 'O'; });
    QTest::newRow("other content") << Damage([](QByteArray& bytes) { bytes = "hello\nthere\n"; });
    QTest::newRow("overwritten") << Damage([](QByteArray& bytes) {
        for (qsizetype i = bytes.size() / 4; i < bytes.size() * 3 / 4; ++i)
            bytes[i] = char(i * 7 % 253);
    });
}

void FileStoreContract::damagedFilesAreRefusedAndLeft()
{
    QFETCH(std::function<void(QByteArray&)>, damage);
    auto store = open();
    writeDevices(*store, 200);
    store->sync();
    store.reset();
    QByteArray bytes = contentOf(m_path);
    damage(bytes);
    write(m_path, bytes);
    for (const tq::OpenMode mode : { tq::OpenMode::ReadWrite, tq::OpenMode::ReadOnly }) {
        QString error;
        QVERIFY(!tq::openStore(m_url, &error, mode));
        QVERIFY2(error.contains(m_path), qPrintable(error));
    }
    QVERIFY(QFile::exists(m_path));
    QCOMPARE(contentOf(m_path), bytes);
    const QString moved = tq::moveCorruptStoreAside(m_url);
    QVERIFY(moved.startsWith(m_path + QStringLiteral(".corrupt-2")));
    QVERIFY(QFile::exists(moved));
    QCOMPARE(contentOf(moved), bytes);
    QVERIFY(!QFile::exists(m_path));
}

void FileStoreContract::unusablePathsAreNamed_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<tq::OpenMode>("mode");
    const auto create = tq::OpenMode::Create;
    QTest::newRow("missing") << QStringLiteral("none") << tq::OpenMode::ReadOnly;
    QTest::newRow("mistyped") << QStringLiteral("none") << tq::OpenMode::ReadWrite;
    QTest::newRow("missing folder") << QStringLiteral("none/") + m_fileName << create;
    QTest::newRow("folder") << QStringLiteral(".") << create;
    QTest::newRow("below a file") << QStringLiteral("file/") + m_fileName << create;
    QTest::newRow("not to be looked at") << QStringLiteral("loop") << create;
}

void FileStoreContract::unusablePathsAreNamed()
{
    QFETCH(QString, path);
    QFETCH(tq::OpenMode, mode);
    write(m_folder->filePath(QStringLiteral("file")), "");
    QVERIFY(QFile::link(QStringLiteral("loop"), m_folder->filePath(QStringLiteral("loop"))));
    QString error;
    const QString full = m_folder->filePath(path);
    QVERIFY(!tq::openStore(m_urlStart + full, &error, mode));
    QVERIFY2(error.contains(QDir::cleanPath(full)), qPrintable(error));
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), QStringList{ QStringLiteral("file") });
}

void FileStoreContract::aReadOnlyStoreIsNotTouched()
{
    auto store = open();
    store->setValue(QStringLiteral("A"), 1);
    store->sync();
    store = open(tq::OpenMode::ReadOnly);
    const LogCapture log;
    store->setValue(QStringLiteral("A"), 2);
    store->remove(QStringLiteral("A"));
    store->sync();
    QVERIFY(store->errorString().contains(m_path));
    QVERIFY(!log.linesWith(m_path).isEmpty());
    QCOMPARE(store->value(QStringLiteral("A")), QVariant(1));
    QCOMPARE(open()->value(QStringLiteral("A")), QVariant(1));
}

void FileStoreContract::aFailedSyncIsReported()
{
    const auto store = open();
    store->setValue(QStringLiteral("A"), 1);
    const QString away = m_folder->path() + QStringLiteral("-away");
    QVERIFY(QDir().rename(m_folder->path(), away));
    const LogCapture log;
    store->sync();
    store->setValue(QStringLiteral("A"), 1);
    store->sync();
    QVERIFY(store->errorString().contains(m_path));
    QVERIFY(!store->isUsable());
    QVERIFY(!log.linesWith(m_path).isEmpty());
    QVERIFY(QDir().rename(away, m_folder->path()));
    store->setValue(QStringLiteral("A"), 1);
    store->sync();
    QVERIFY2(store->isUsable(), qPrintable(store->errorString()));
    QCOMPARE(open()->value(QStringLiteral("A")), QVariant(1));
}

void FileStoreContract::aFullDiskLeavesTheOldContent()
{
    auto store = open();
    store->setValue(QStringLiteral("Old"), QStringLiteral("kept"));
    store->sync();
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small{ 100000, limit.rlim_max };
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    writeDevices(*store, 2000);
    store->sync();
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    ::signal(SIGXFSZ, handler);
    QVERIFY(store->errorString().contains(m_path));
    QCOMPARE(flat(open()->tree()), QStringList{ QStringLiteral("Old=QString kept") });
    writeDevices(*store, 20);
    store->sync();
    QVERIFY2(store->isUsable(), qPrintable(store->errorString()));
}

void FileStoreContract::aLackOfDescriptorsLosesNothing()
{
    auto first = open();
    writeDevices(*first, 3);
    first->sync();
    QStringList before = flat(first->tree());
    first.reset();
    rlimit limit = {};
    QCOMPARE(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit small{ 100, limit.rlim_max };
    int refused = 0;
    int saved = 0;
    for (int free = 0; free < 12; ++free) {
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &small), 0);
        std::vector<int> held;
        for (int last = 0; last >= 0; last = ::open("/dev/null", O_RDONLY | O_CLOEXEC))
            held.push_back(last);
        for (int i = 0; i < free; ++i, held.pop_back())
            ::close(held.back());
        QString error;
        const auto store = tq::openStore(m_url, &error);
        const QString unread = error;
        const QStringList read = store ? flat(store->tree()) : before;
        const bool isWhole = !store || !store->errorString().isEmpty() || read == before;
        if (store) {
            store->setValue(QStringLiteral("Old"), free);
            store->sync();
            error = store->errorString();
        }
        for (std::size_t i = 1; i < held.size(); ++i)
            ::close(held[i]);
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        QVERIFY2(isWhole, qPrintable(read.join(u'|')));
        ++(error.isEmpty() ? saved : refused);
        QVERIFY2(error.isEmpty() || error.contains(m_path), qPrintable(error));
        static const QRegularExpression why(QStringLiteral("cannot be read: |unable to open"));
        QVERIFY2(unread.isEmpty() || unread.contains(why), qPrintable(unread));
        if (error.isEmpty())
            before[0] = QStringLiteral("Old=int %1").arg(free);
        QCOMPARE(flat(open()->tree()), before);
    }
    QVERIFY(refused > 1 && saved > 1);
}

void FileStoreContract::aFolderThatIsNotSyncedIsReported()
{
    const auto store = open();
    for (int i = 0; i < 2; ++i) {
        store->setValue(QStringLiteral("A"), i);
        failingFolder = QFile::encodeName(m_folder->path());
        store->sync();
        failingFolder.clear();
        QVERIFY2(store->errorString().contains(m_path), qPrintable(store->errorString()));
        QCOMPARE(open()->value(QStringLiteral("A")), QVariant(i));
    }
    store->sync();
    QVERIFY2(store->isUsable(), qPrintable(store->errorString()));
}
