// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"

#include "nodestore/nodedb.h"
#include "persistence/storefactory.h"
#include "views/nodeentry.h"
#include "views/nodeview.h"
#include "views/nodeviews.h"

#include <QFile>
#include <QImage>
#include <QTest>

using namespace tq;

namespace {

void storeViews(const QString& path)
{
    NodeViews views(*NodeDB::getDB());
    const tqm::smart<NodeView> gates(new NodeView(QStringLiteral("Gates")));
    gates->append(tqm::smart<NodeEntry>(new NodeEntry(QStringLiteral("north"))));
    gates->append(tqm::smart<NodeEntry>(new NodeEntry(QStringLiteral("south"))));
    views.root()->append(gates);
    const auto store = openStore(path);
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
    return ended.code == 0 ? image : QImage();
}

void TestViewer::picturesShowTheStoreAndLeaveItAlone()
{
    const QImage nothing = picture();
    QCOMPARE(nothing.size(), QSize(450, 310));
    storeViews(m_store);
    const auto before = hashes();
    const QImage views = picture();
    const QImage found = picture({ QStringLiteral("--filter"), QStringLiteral("north") });
    const QImage chosen = picture({ QStringLiteral("--select"), QStringLiteral("south") });
    for (const QImage& image : { views, found, chosen })
        QCOMPARE(image.size(), nothing.size());
    QVERIFY(views != nothing);
    QVERIFY(found != views);
    QVERIFY(chosen != views);
    QVERIFY(picture() == views);
    QCOMPARE(hashes(), before);
}

void TestViewer::failuresAreOneSentence_data()
{
    QTest::addColumn<QString>("store");
    QTest::addColumn<QString>("file");
    QTest::newRow("no store named") << QString() << QStringLiteral("picture.png");
    QTest::newRow("a folder that is not there")
        << QStringLiteral("absent/devices.db") << QStringLiteral("picture.png");
    QTest::newRow("a file that is no store")
        << QStringLiteral("letter.db") << QStringLiteral("picture.png");
    QTest::newRow("a picture that cannot be written")
        << QStringLiteral("devices.db") << QStringLiteral("absent/picture.png");
}

void TestViewer::failuresAreOneSentence()
{
    QFETCH(const QString, store);
    QFETCH(const QString, file);
    storeViews(m_store);
    tst::write(path("letter.db"), "Dear Anna, the gate is open again.\n");
    const auto before = hashes();
    const tst::Run ended = run({ store, QStringLiteral("--picture"), file });
    QCOMPARE(ended.code, 1);
    QCOMPARE(ended.error.count("viewer: "), 1);
    QCOMPARE(hashes(), before); // no picture either
}

QTEST_GUILESS_MAIN(TestViewer)

#include "tst_viewer.moc"
