// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/randomdatabase.h"
#include "nodestore/nodedb.h"
#include "persistence/memorydestination.h"
#include "persistence/storefactory.h"
#include "shared/calllogdestination.h"
#include "shared/fakedriver.h"
#include "shared/fakenode.h"
#include "shared/logcapture.h"

#include "platform/pluginloader.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

using namespace tq;

namespace {

constexpr int k_databases = 500;
constexpr unsigned k_seed = 20261123;
const QMap<int, int> k_types{ { tst::k_plainType, 1 }, { tst::k_deviceType, 1 },
    { tst::k_storageType, 1 } };
const QString k_suffix = QStringLiteral(".calls");

bool savesAll(int index)
{
    return index % 2 == 0;
}

/** Saves the process's database into `inner` (may be null) and returns the recorded calls. */
QStringList recordedSave(IPersistDestination* inner, bool saveAll)
{
    tst::CallLogDestination target(inner);
    NodeDB::getDB()->save(&target, saveAll);
    return target.calls();
}

/** Loads `store` into a fresh database and returns the calls of saving that one. */
QStringList callsAfterLoading(IPersistDestination* store, bool saveAll)
{
    NodeDB::freeDB();
    NodeDB::getDB()->load(store);
    const QStringList calls = recordedSave(nullptr, saveAll);
    NodeDB::freeDB();
    return calls;
}

QByteArray printed(const QStringList& calls)
{
    return calls.join(QChar(1)).toUtf8();
}

/** What the other process does: reads store paths from standard input, writes the calls beside each
 * store. */
int answerForStores()
{
    tst::LogCapture log(Log::eNothing);
    tst::FakeDriver driver(QStringLiteral("fake"), k_types);
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return 1;
    for (QByteArray line = input.readLine(); !line.isEmpty(); line = input.readLine()) {
        const bool saveAll = line.startsWith('a');
        const QString path = QString::fromUtf8(line.mid(1).trimmed());
        QString error;
        const auto store = openStore(path, &error, OpenMode::ReadOnly);
        QFile output(path + k_suffix);
        if (!store || !output.open(QIODevice::WriteOnly)) {
            std::fprintf(stderr, "%s\n", qPrintable(error));
            return 1;
        }
        output.write(printed(callsAfterLoading(store.get(), saveAll)));
    }
    return 0;
}

} // namespace

class TestRoundTrip : public QObject
{
    Q_OBJECT

private slots:
    void everythingComesBack();

private:
    void writeDatabase(int index);
    QString path(int index, const char* ending) const
    {
        return m_folder.filePath(QStringLiteral("%1.%2").arg(index).arg(QLatin1String(ending)));
    }

    QTemporaryDir m_folder;
    QByteArrayList m_firstSaves;
    QMap<QString, int> m_coverage;
};

void TestRoundTrip::writeDatabase(int index)
{
    NodeDB::freeDB();
    tst::RandomDatabase random(k_seed + unsigned(index));
    random.fill();
    for (auto it = random.coverage().cbegin(); it != random.coverage().cend(); ++it)
        m_coverage[it.key()] += *it;
    MemoryDestination memory;
    const QStringList first = recordedSave(&memory, savesAll(index));
    m_firstSaves.append(printed(first));
    for (const char* ending : { "ini", "db" }) {
        const auto store = openStore(path(index, ending), nullptr, OpenMode::Create);
        QVERIFY(store);
        QCOMPARE(recordedSave(store.get(), savesAll(index)), first);
        QCOMPARE(store->errorString(), QString());
    }
    QCOMPARE(callsAfterLoading(&memory, savesAll(index)), first);
}

void TestRoundTrip::everythingComesBack()
{
    tst::LogCapture log(Log::eNothing);
    tst::FakeDriver driver(QStringLiteral("fake"), k_types);
    for (int i = 0; i < k_databases; ++i) {
        writeDatabase(i);
        if (QTest::currentTestFailed())
            QFAIL(qPrintable(QStringLiteral("seed %1").arg(k_seed + unsigned(i))));
    }
    QProcess other;
    other.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--answer") });
    for (int i = 0; i < k_databases; ++i) {
        for (const char* ending : { "ini", "db" })
            other.write((savesAll(i) ? "a" : "p") + path(i, ending).toUtf8() + '\n');
    }
    other.closeWriteChannel();
    QVERIFY(other.waitForFinished(300000));
    QVERIFY2(other.exitCode() == 0, other.readAllStandardError().constData());
    for (int i = 0; i < k_databases; ++i) {
        for (const char* ending : { "ini", "db" }) {
            QFile answer(path(i, ending) + k_suffix);
            QVERIFY(answer.open(QIODevice::ReadOnly));
            const QList<QByteArray> again = answer.readAll().split(1);
            const QList<QByteArray> first = m_firstSaves.at(i).split(1);
            for (qsizetype k = 0; k < first.size(); ++k)
                QVERIFY2(again.value(k) == first.at(k),
                    "seed " + QByteArray::number(k_seed + unsigned(i)) + ' ' + ending + ": "
                        + first.at(k) + " became " + again.value(k));
            QCOMPARE(again.size(), first.size());
        }
    }
    qInfo("%d databases on 3 stores, seeds from %u", k_databases, k_seed);
    for (auto it = m_coverage.cbegin(); it != m_coverage.cend(); ++it)
        qInfo("  %6d %s", *it, qPrintable(it.key()));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    tq::plugin::Loader::instance().addFolder(QStringLiteral(PLUGIN_FOLDER));
    if (application.arguments().contains(QStringLiteral("--answer")))
        return answerForStores();
    TestRoundTrip test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_roundtrip.moc"
