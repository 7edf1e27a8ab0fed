// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"

#include "nodestore/nodedb.h"
#include "persistence/storefactory.h"
#include "persistence/storelock.h"
#include "shared/databasefixture.h"
#include "views/nodeentry.h"
#include "views/nodeview.h"
#include "views/nodeviews.h"

#include <QFile>
#include <QImage>
#include <QTest>

using namespace tq;
using tst::text;

namespace {

void storeViews(const QString& path, bool areAny = true)
{
    NodeViews views(*NodeDB::getDB());
    const tqm::smart<NodeView> gates(new NodeView(QStringLiteral("Gates")));
    gates->append(tqm::smart<NodeEntry>(new NodeEntry(QStringLiteral("north"))));
    gates->append(tqm::smart<NodeEntry>(new NodeEntry(QStringLiteral("south"))));
    if (areAny)
        views.root()->append(gates);
    const auto store = openStore(path, nullptr, OpenMode::Create);
    views.save(store.get());
    store->sync();
    QVERIFY(store->isUsable());
}

} // namespace

class TestViewer : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }
    void cleanupTestCase() { NodeDB::freeDB(); }
    void picturesShowTheStoreAndLeaveItAlone();
    void failuresAreOneSentence_data();
    void failuresAreOneSentence();
    void aStoreInUseOrMissingIsRefused();
    void itSaysHowToCallIt();
    void devicesInNoViewAreShownAndFound();

private:
    QImage picture(const QStringList& options = {}) const;
};

/** Returns a picture of the test's store; a null one when there is none. */
QImage TestViewer::picture(const QStringList& options) const
{
    const QString file = path("picture.png");
    QFile::remove(file);
    const tst::Run ended = run(QStringList{ m_store, QStringLiteral("--picture"), file,
                                   QStringLiteral("--size"), QStringLiteral("450x310") }
        + options);
    const QImage image(file, "PNG");
    QFile::remove(file);
    if (ended.code != 0)
        qWarning("%s", ended.error.constData());
    return ended.code == 0 ? image : QImage();
}

void TestViewer::picturesShowTheStoreAndLeaveItAlone()
{
    storeViews(m_store, false);
    const QImage nothing = picture();
    QCOMPARE(nothing.size(), QSize(450, 310));
    storeViews(m_store);
    const auto before = hashes();
    const QImage views = picture();
    const QRect below(0, 40, 450, 270); // the text that is searched for
    const auto search = [&](const QString& text) {
        return picture({ QStringLiteral("--filter"), text }).copy(below);
    };
    const QImage found = search(QStringLiteral("north"));
    const QImage other = search(QStringLiteral("south"));
    const QImage nowhere = search(QStringLiteral("norht"));
    const QImage chosen = picture({ QStringLiteral("--select"), QStringLiteral("south") });
    for (const QImage& image : { views, chosen })
        QCOMPARE(image.size(), nothing.size());
    QVERIFY(views != nothing);
    QVERIFY(found != other);
    QVERIFY(found != nowhere);
    QVERIFY(chosen != views);
    QVERIFY(picture() == views);
    QCOMPARE(hashes(), before);
}

void TestViewer::failuresAreOneSentence_data()
{
    QTest::addColumn<QByteArray>("arguments");
    QTest::newRow("no store named") << QByteArray("--picture picture.png");
    QTest::newRow("two stores") << QByteArray("devices.db devices.db --picture picture.png");
    QTest::newRow("no such folder") << QByteArray("absent/devices.db --picture picture.png");
    QTest::newRow("no store") << QByteArray("letter.db --picture picture.png");
    QTest::newRow("no such size") << QByteArray("devices.db --size 12 --picture picture.png");
    QTest::newRow("no such row") << QByteArray("devices.db --select west --picture picture.png");
    QTest::newRow("no such place") << QByteArray("devices.db --picture absent/picture.png");
}

void TestViewer::failuresAreOneSentence()
{
    QFETCH(const QByteArray, arguments);
    storeViews(m_store);
    tst::write(path("letter.db"), "Dear Anna, the gate is open again.\n");
    const auto before = hashes();
    const tst::Run ended = run(QString::fromUtf8(arguments).split(QLatin1Char(' ')));
    QVERIFY2(ended.code == 1, ended.error.constData());
    QVERIFY2(ended.error.count("viewer: ") == 1, ended.error.constData());
    QCOMPARE(hashes(), before); // no picture either
}

void TestViewer::aStoreInUseOrMissingIsRefused()
{
    storeViews(m_store);
    QVERIFY(QFile::link(m_store, path("link.db")));
    const auto lock = StoreLock::take(path("link.db"));
    QVERIFY(lock);
    const auto before = hashes();
    for (const QString& store : { m_store, path("absent.db") }) {
        const tst::Run ended = run({ store }); // a window would stay open
        QVERIFY2(ended.code == 1, ended.error.constData());
        QVERIFY2(ended.error.count("viewer: ") == 1, ended.error.constData());
        QVERIFY2(ended.error.contains(store.toUtf8()), ended.error.constData());
    }
    QVERIFY(!picture().isNull()); // only reads
    QCOMPARE(hashes(), before);
}

void TestViewer::itSaysHowToCallIt()
{
    qputenv("XDG_DATA_HOME", "/data");
    const tst::Run help = run({ QStringLiteral("--help") });
    const tst::Run nothing = run({});
    qunsetenv("XDG_DATA_HOME");
    QCOMPARE(help.code, 0);
    QVERIFY2(help.out.startsWith("Usage: ") && help.out.contains("--picture <FILE.png>"), help.out);
    QCOMPARE(nothing.code, 1);
    for (const char* said : { "\"viewer devices.db\"", "sqlite:/data/nodedb/devices.db" })
        QVERIFY2(nothing.error.contains(said), nothing.error);
}

void TestViewer::devicesInNoViewAreShownAndFound()
{
    NodeDB::getDB()->insertNode(
        new tst::DeviceNode(QStringLiteral("west"), QStringLiteral("10.0.0.9"), eIPCameraNode));
    NodeDB::getDB()->save(openStore(m_store, nullptr, OpenMode::Create).get(), true);
    NodeDB::freeDB();
    for (const char* row : { "Not in a view", "west" }) // which --select wants to be shown
        QVERIFY(!picture({ text("--select"), text(row) }).isNull());
    QVERIFY(!picture({ text("--filter"), text("0.9"), text("--select"), text("west") }).isNull());
}

QTEST_GUILESS_MAIN(TestViewer)

#include "tst_viewer.moc"
