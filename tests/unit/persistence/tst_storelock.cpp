// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/storefactory.h"
#include "persistence/storelock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

using namespace tq;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/** What this program does when it is another one: takes a lock, tells how that went, and holds it
 * until its input ends. */
int hold(const QString& store)
{
    QString error;
    const auto lock = StoreLock::take(store, &error, OpenMode::Create);
    std::puts(qUtf8Printable(lock ? text("held") : error));
    std::fflush(stdout);
    while (lock && std::getchar() != EOF) { }
    return 0;
}

/** Another program that takes the lock of `store`, started by a shell that does `before` in a
 * namespace of mounts of its own. */
struct Other
{
    explicit Other(const QString& store, const QString& before = QString())
    {
        const QString program = QCoreApplication::applicationFilePath();
        if (before.isEmpty())
            process.start(program, { text("hold"), store });
        else
            process.start(text("unshare"),
                { text("-m"), text("sh"), text("-c"), before + text(" && exec \"$0\" hold \"$1\""),
                    program, store });
        if (process.waitForReadyRead())
            said = process.readLine().trimmed();
    }
    ~Other()
    {
        process.kill(); // SIGKILL
        process.waitForFinished();
    }

    QProcess process;
    QByteArray said;
};

} // namespace

class TestStoreLock : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void allNamesOfAStoreAreOneLock_data();
    void allNamesOfAStoreAreOneLock();
    void whatLiesThereRefusesNothing_data();
    void whatLiesThereRefusesNothing();
    void aMistypedNameLeavesNothing();
    void olderProgramsAreKeptOut();
    void storesThatCannotBeChangedSafelyAreRefused_data();
    void storesThatCannotBeChangedSafelyAreRefused();

private:
    QString path(const char* name) const { return m_folder->filePath(text(name)); }
    void write(const char* name, const QByteArray& content) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_store;
};

void TestStoreLock::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_store = path("real/store.db");
    QVERIFY(QDir().mkdir(path("real")) && QDir().mkdir(path("links")));
    QVERIFY(QDir::setCurrent(m_folder->path()));
    write("real/plain.ini", "a=1\n");
}

void TestStoreLock::write(const char* name, const QByteArray& content) const
{
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

void TestStoreLock::allNamesOfAStoreAreOneLock_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("itself") << text("real/store.db");
    QTest::newRow("a way around") << text("sqlite:links/../real/./store.db");
    QTest::newRow("a link") << text("sqlite:links/link");
    QTest::newRow("a link to a link") << text("sqlite:links/chain");
    QTest::newRow("in a folder behind a link") << text("folder/store.db");
    QTest::newRow("a link out of a folder behind a link") << text("sqlite:links/around");
}

void TestStoreLock::allNamesOfAStoreAreOneLock()
{
    QFETCH(QString, name);
    QVERIFY(QFile::link(text("../real/store.db"), path("links/link")));
    QVERIFY(QFile::link(text("link"), path("links/chain")));
    QVERIFY(QFile::link(text("real"), path("folder")));
    QVERIFY(QDir().mkdir(path("real/deep")) && QFile::link(text("../real/deep"), path("links/d")));
    QVERIFY(QFile::link(text("d/../store.db"), path("links/around")));
    for (const bool exists : { false, true }) { // links lead to nothing at first
        if (exists)
            write("real/store.db", "is never opened here");
        QString error;
        {
            const Other other(m_store);
            QCOMPARE(other.said, QByteArray("held"));
            QVERIFY(!StoreLock::take(name, &error, OpenMode::Create));
            QVERIFY2(error.contains(m_store), qPrintable(error));
            const QString who = text("process %1 (tst_storelock)").arg(other.process.processId());
            QVERIFY2(error.contains(who), qPrintable(error));
        }
        const auto lock =
            StoreLock::take(name, &error, OpenMode::Create); // the other one was killed
        QVERIFY2(lock, qPrintable(error));
        QCOMPARE(lock->store(), text("sqlite:") + m_store);
        QVERIFY(Other(m_store).said.contains("is being changed by process "));
    }
}

void TestStoreLock::whatLiesThereRefusesNothing_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("of a program killed too early") << QByteArray();
    QTest::newRow("a dead one's") << QByteArray("2147483000\nnodedb\nhere\n");
    QTest::newRow("a living one's that has ended changing") << QByteArray("1\ninit\n");
    QTest::newRow("no lock's") << QByteArray("[packages]\nqt = 6\n");
}

void TestStoreLock::whatLiesThereRefusesNothing()
{
    QFETCH(QByteArray, content);
    write("real/plain.ini.lock", content);
    ::chmod(QFile::encodeName(path("real/plain.ini.lock")).constData(), 0);
    QString error;
    const auto lock = StoreLock::take(path("real/plain.ini"), &error, OpenMode::Create);
    QVERIFY2(lock, qPrintable(error));
    QFile file(path("real/plain.ini.lock"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const bool isForeign = content.startsWith('[');
    QVERIFY(isForeign ? file.readAll() == content : file.readLine().toInt() == ::getpid());
}

void TestStoreLock::aMistypedNameLeavesNothing()
{
    QString error;
    QVERIFY(!StoreLock::take(m_store, &error));
    QVERIFY2(error.contains(m_store), qPrintable(error));
    QVERIFY(!QFile::exists(m_store + text(".lock")));
}

void TestStoreLock::olderProgramsAreKeptOut()
{
    QLockFile older(m_store + text(".lock"));
    older.setStaleLockTime(0);
    QVERIFY(older.tryLock());
    QString error;
    QVERIFY(!StoreLock::take(m_store, &error, OpenMode::Create));
    older.unlock(); // removes the file
    {
        const Other other(m_store);
        QCOMPARE(other.said, QByteArray("held"));
        QVERIFY(!older.tryLock());
    }
    QVERIFY(older.tryLock());
}

void TestStoreLock::storesThatCannotBeChangedSafelyAreRefused_data()
{
    QTest::addColumn<QString>("place"); // for a shell in the store's folder
    QTest::addColumn<QString>("store");
    QTest::addColumn<QByteArray>("sentence");
    const auto row = [](const char* name, const char* place, const char* store,
                         const char* sentence) {
        QTest::newRow(name) << text(place) << text(store) << QByteArray(sentence);
    };
    row("a folder has its name", "mkdir store.db.lock", "store.db",
        "store.db.lock: Is a directory");
    row("a link", "touch own; ln -s own store.db.lock", "store.db", "could not be locked: ");
    row("a pipe", "mkfifo store.db.lock", "store.db", "is not a file");
    row("a full disk", "mount -t tmpfs -o nr_inodes=1 none $PWD && cd $PWD", "store.db",
        "No space");
    row("two names", "ln plain.ini other", "plain.ini", "has 2 names");
    row("mounted by itself", "mount --bind plain.ini plain.ini", "plain.ini", "by itself");
    row("in a folder mounted twice", "mount --bind . ../links", "plain.ini", "held");
    const char* const remote =
        "sed 's/ - [^ ]* / - nfs4 /' /proc/self/mountinfo >m && mount --bind m /proc/$$/mountinfo";
    row("SQLite, remote", remote, "store.db", "(nfs4)");
    row("INI, remote", remote, "plain.ini", "held");
}

void TestStoreLock::storesThatCannotBeChangedSafelyAreRefused()
{
    QFETCH(QString, place);
    QFETCH(QString, store);
    QFETCH(QByteArray, sentence);
    if (::geteuid() != 0)
        QSKIP("only root makes a namespace of mounts");
    const QString file = path("real/") + store;
    const Other other(file, text("cd real && ") + place);
    QVERIFY2(other.said.contains(sentence), other.said.constData());
    if (sentence == "held")
        return;
    QVERIFY2(other.said.contains(file.toUtf8()), other.said.constData());
    QString error;
    const bool hasNames = sentence == "has 2 names"; // which needs no lock to be refused
    QCOMPARE(!openStore(file, &error, OpenMode::Create), hasNames);
    QCOMPARE(error.toUtf8(), hasNames ? other.said : QByteArray());
    QVERIFY(!hasNames || openStore(file, &error, OpenMode::ReadOnly));
}

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(text("tst_storelock"));
    if (argc == 3 && qstrcmp(argv[1], "hold") == 0)
        return hold(QString::fromLocal8Bit(argv[2]));
    TestStoreLock test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_storelock.moc"
