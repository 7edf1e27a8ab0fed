// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "contract/persistdestinationcontract.h"

#include "contract/scripts.h"
#include "persistence/memorydestination.h"
#include "shared/logcapture.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>
#include <QTextStream>
#include <QThread>

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tst;

namespace tst {

QStringList flat(const tq::StoreNode& node, const QString& path)
{
    QStringList lines;
    for (const auto& [key, value] : node.values) {
        QString text = value.toString();
        if (value.typeId() != QMetaType::QString && value.typeId() != QMetaType::Int) {
            QByteArray bytes;
            QDataStream stream(&bytes, QIODevice::WriteOnly);
            stream << value;
            text += QLatin1String(bytes.toHex());
        }
        const QLatin1String type(value.typeName());
        lines += path + key + QLatin1Char('=') + type + QLatin1Char(' ') + text;
    }
    for (const auto& [name, group] : node.groups)
        lines += flat(group, path + name + QLatin1Char('/'));
    for (const auto& [name, array] : node.arrays) {
        lines += path + name + QStringLiteral("#%1").arg(array.size);
        for (const auto& [index, entry] : array.entries)
            lines += flat(entry, path + name + QStringLiteral("[%1]/").arg(index));
    }
    return lines;
}

int runContract(int argc, char* argv[], QObject& test)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const bool dumps = arguments.value(1) == QStringLiteral("--dump");
    if (!dumps && arguments.value(1) != QStringLiteral("--write"))
        return QTest::qExec(&test, argc, argv);
    QTextStream out(stdout);
    const auto store = tq::openStore(
        arguments.value(2), nullptr, dumps ? tq::OpenMode::ReadOnly : tq::OpenMode::ReadWrite);
    if (!store)
        return 2;
    if (dumps) {
        out << flat(store->tree()).join(QLatin1Char('\n'));
        return 0;
    }
    store->remove(QStringLiteral("Old"));
    writeDevices(*store, 2000);
    out << "written" << Qt::endl;
    QThread::sleep(60);
    return 0;
}

} // namespace tst

PersistDestinationContract::PersistDestinationContract(
    const QString& urlStart, const QString& fileName)
    : m_urlStart(urlStart), m_fileName(fileName)
{
}

void PersistDestinationContract::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath(m_fileName);
    m_url = m_fileName.isEmpty() ? m_urlStart : m_urlStart + m_path;
}

std::unique_ptr<tq::IStore> PersistDestinationContract::open(tq::OpenMode mode)
{
    QString error;
    auto store = tq::openStore(m_url, &error, mode);
    if (!store)
        qFatal("%s", qPrintable(error));
    return store;
}

std::unique_ptr<tq::IStore> PersistDestinationContract::reopened(std::unique_ptr<tq::IStore> store)
{
    store->sync();
    if (!store->isUsable())
        qFatal("%s", qPrintable(store->errorString()));
    if (m_fileName.isEmpty())
        return store;
    store.reset();
    return open();
}

void PersistDestinationContract::scriptsLeaveTheirTree_data()
{
    addScripts();
}

void PersistDestinationContract::scriptsLeaveTheirTree()
{
    QFETCH(Script, script);
    QFETCH(QStringList, tree);
    auto store = open();
    script(*store);
    QCOMPARE(flat(store->tree()), tree);
    store = reopened(std::move(store));
    QCOMPARE(flat(store->tree()), tree);
}

void PersistDestinationContract::valuesKeepTheirTypes()
{
    const QVariantList values = valuesOfEveryType();
    auto store = open();
    store->beginWriteArray(QStringLiteral("Values"));
    for (int i = 0; i < values.size(); ++i) {
        store->setArrayIndex(i);
        store->setValue(QStringLiteral("V"), values[i]);
    }
    store->endArray();
    store = reopened(std::move(store));
    QCOMPARE(store->beginReadArray(QStringLiteral("Values")), int(values.size()));
    for (int i = 0; i < values.size(); ++i) {
        store->setArrayIndex(i);
        QVERIFY2(store->contains(QStringLiteral("V")), qPrintable(QString::number(i)));
        const QVariant value = store->value(QStringLiteral("V"), QStringLiteral("absent"));
        QCOMPARE(value.metaType(), values[i].metaType());
        QCOMPARE(value, values[i]);
    }
    store->endArray();
}

void PersistDestinationContract::readingFindsWhatIsThereAndDefaults()
{
    auto store = open();
    writeDevices(*store, 3);
    store = reopened(std::move(store));
    QCOMPARE(store->beginReadArray(QStringLiteral("None")), 0);
    store->setArrayIndex(0);
    QCOMPARE(store->value(QStringLiteral("ID"), 7), QVariant(7));
    store->endArray();
    store->beginGroup(QStringLiteral("Devices"));
    QCOMPARE(store->beginReadArray(QStringLiteral("Devices")), 3);
    for (const int i : { 2, 0, 1 }) {
        store->setArrayIndex(i);
        QCOMPARE(store->value(QStringLiteral("ID")), QVariant(QStringLiteral("id-%1").arg(i)));
        QVERIFY(!store->contains(QStringLiteral("id")));
        store->beginGroup(QStringLiteral("Port"));
        QCOMPARE(store->beginReadArray(QStringLiteral("Environment")), 2);
        store->setArrayIndex(1);
        QCOMPARE(store->value(QStringLiteral("Port")), QVariant(80 + i));
        store->endArray();
        store->endGroup();
    }
    store->endArray();
    store->endGroup();
    QVERIFY(store->isUsable());
}

void PersistDestinationContract::unmatchedCallsAreLoggedAndHarmless_data()
{
    addUnmatchedCalls();
}

void PersistDestinationContract::unmatchedCallsAreLoggedAndHarmless()
{
    QFETCH(Script, script);
    QFETCH(QStringList, tree);
    auto store = open();
    const LogCapture log;
    script(*store);
    store->sync();
    QCOMPARE(log.linesWith(QStringLiteral("2 Store: ")).size(), 1);
    QCOMPARE(flat(store->tree()), tree);
}

void PersistDestinationContract::behavesAsTheMemoryStoreUnderRandomCalls_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 12; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

void PersistDestinationContract::behavesAsTheMemoryStoreUnderRandomCalls()
{
    QFETCH(quint32, seed);
    tq::MemoryDestination model;
    auto store = open();
    for (quint32 round = 0; round < 4; ++round) {
        callAtRandom({ &model, store.get() }, seed * 100 + round);
        QCOMPARE(flat(store->tree()), flat(model.tree()));
        store = reopened(std::move(store));
        QCOMPARE(flat(store->tree()), flat(model.tree()));
    }
}

void PersistDestinationContract::putReplacesAndCopyCarriesEverything()
{
    auto store = open();
    writeDevices(*store, 3);
    const QString devices = QStringLiteral("Devices");
    const tq::StoreLocation second{ { devices }, { devices, 1 } };
    const tq::StoreLocation fifth{ { devices }, { devices, 4 } };
    const tq::StoreNode device = store->tree({ { devices }, { devices, 2 } });
    tq::putNode(*store, *store, second, device);
    tq::putNode(*store, *store, fifth, device);
    tq::StoreNode small;
    small.values[QStringLiteral("Only")] = 1;
    tq::putNode(*store, *store, { { devices }, { devices, 0 } }, small);
    store = reopened(std::move(store));
    QVERIFY(store->tree(second) == device);
    QVERIFY(store->tree(fifth) == device);
    QVERIFY(store->tree({ { devices }, { devices, 0 } }) == small);
    QVERIFY(store->tree({ { devices }, { devices, 9 } }) == tq::StoreNode());

    tq::MemoryDestination copy;
    tq::copyStore(*store, copy);
    QCOMPARE(flat(copy.tree()), flat(store->tree()));
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
        QFile file(folder.filePath(name + QStringLiteral("/store")));
        QVERIFY(file.open(QIODevice::WriteOnly));
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
    QFile file(m_path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QByteArray bytes = file.readAll();
    damage(bytes);
    QVERIFY(file.resize(0) && file.seek(0) && file.write(bytes) == bytes.size());
    file.close();

    const auto content = [](const QString& path) {
        QFile read(path);
        return read.open(QIODevice::ReadOnly) ? read.readAll() : QByteArray("unreadable");
    };
    for (const tq::OpenMode mode : { tq::OpenMode::ReadWrite, tq::OpenMode::ReadOnly }) {
        QString error;
        QVERIFY(!tq::openStore(m_url, &error, mode));
        QVERIFY2(error.contains(m_path), qPrintable(error));
    }
    QCOMPARE(content(m_path), bytes);
    const QString moved = tq::moveCorruptStoreAside(m_url);
    QVERIFY(moved.startsWith(m_path + QStringLiteral(".corrupt-2")));
    QCOMPARE(content(moved), bytes);
    QVERIFY(!QFile::exists(m_path));
}

void FileStoreContract::unusablePathsAreNamed_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("readOnly");
    QTest::newRow("missing") << QStringLiteral("none") << true;
    QTest::newRow("missing folder") << QStringLiteral("none/") + m_fileName << false;
    QTest::newRow("folder") << QStringLiteral(".") << false;
    QTest::newRow("below a file") << QStringLiteral("file/") + m_fileName << false;
}

void FileStoreContract::unusablePathsAreNamed()
{
    QFETCH(QString, path);
    QFETCH(bool, readOnly);
    QFile file(m_folder->filePath(QStringLiteral("file")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QString error;
    const QString full = m_folder->filePath(path);
    QVERIFY(!tq::openStore(
        m_urlStart + full, &error, readOnly ? tq::OpenMode::ReadOnly : tq::OpenMode::ReadWrite));
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
