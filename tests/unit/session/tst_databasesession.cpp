// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/databasesession.h"
#include "shared/databasefixture.h"
#include "shared/viewtext.h"
#include "views/nodeentry.h"
#include "views/nodeviews.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <stdexcept>

using namespace tq;
using tst::text;
using View = tqm::smart<NodeView>;

namespace {

/** A driver and a session that follow each other's life as in a program. */
struct Session
{
    explicit Session(const QMap<int, int>& types = { { 7, 1 } })
        : driver(text("fake"), types), session({})
    {
    }

    NodeDB& db() { return session.database(); }
    NodeView& root() { return *session.views().root(); }
    QString open(const QString& store) { return session.open(store, OpenMode::ReadWrite); }

    const tst::LogCapture log;
    tst::FakeDriver driver;
    DatabaseSession session;
};

NodeView::Entry node(const char* id)
{
    return NodeView::Entry(new NodeEntry(text(id)));
}

/** Returns how many transactions have changed an SQLite file: its header counts them. */
quint32 transactions(const QString& path)
{
    QFile file(path);
    constexpr qint64 k_counter = 24;
    if (!file.open(QIODevice::ReadOnly) || !file.seek(k_counter))
        return 0;
    return qFromBigEndian<quint32>(file.read(sizeof(quint32)).constData());
}

} // namespace

class TestDatabaseSession : public QObject
{
    Q_OBJECT

private slots:
    void nodesAndViewsAreSavedTogetherOrNotAtAll();
    void nodesOfMissingDriversStayInTheirViews();
    void storesWithoutAllOfTheirViewsAreRefused_data();
    void storesWithoutAllOfTheirViewsAreRefused();

private:
    QTemporaryDir m_folder;
};

void TestDatabaseSession::nodesAndViewsAreSavedTogetherOrNotAtAll()
{
    const QString store = m_folder.filePath(text("together.db"));
    Session first;
    QCOMPARE(first.open(store), QString());
    const View site(new NodeView(text("Site")));
    first.root().append(site);
    QVERIFY(first.session.hasUnsavedChanges());
    QCOMPARE(first.session.save(), QString());
    QVERIFY(!first.session.hasUnsavedChanges());

    auto* const bad = new tst::PlainNode(text("a"));
    bool isBad = true;
    bad->onSave = [&isBad] {
        if (isBad)
            throw std::runtime_error("no");
    };
    first.db().insertNode(bad);
    site->append(node("a"));
    const quint32 before = transactions(store);
    QVERIFY(!first.session.save().isEmpty());
    QCOMPARE(transactions(store), before);
    QVERIFY(first.session.hasUnsavedChanges());
    isBad = false;
    QCOMPARE(first.session.save(), QString());
    QCOMPARE(transactions(store), before + 1);
    QVERIFY(!first.session.hasUnsavedChanges());

    first.db().removeNode(text("a"));
    QCOMPARE(tst::treeText(first.root()), text("(Site())"));
    QVERIFY(first.session.hasUnsavedChanges());
}

void TestDatabaseSession::nodesOfMissingDriversStayInTheirViews()
{
    const QString store = m_folder.filePath(text("drivers.db"));
    const QString tree = text("(Yard(device, plain))");
    {
        Session all({ { 7, 1 }, { 8, 1 } });
        QCOMPARE(all.open(store), QString());
        all.db().insertNode(new tst::PlainNode(text("plain")));
        all.db().insertNode(new tst::DeviceNode(text("device")));
        const View yard(new NodeView(text("Yard")));
        all.root().append(yard);
        for (const char* id : { "device", "plain" })
            yard->append(node(id));
        QCOMPARE(all.session.save(), QString());
    }
    {
        Session some;
        QCOMPARE(some.open(store), QString());
        QVERIFY(some.db().node(text("device")).null());
        QCOMPARE(tst::treeText(some.root()), tree);
        QVERIFY(!some.session.hasUnsavedChanges());
        QCOMPARE(some.session.save(), QString());
    }
    Session all({ { 7, 1 }, { 8, 1 } });
    QCOMPARE(all.open(store), QString());
    QVERIFY(!all.db().node(text("device")).null());
    QCOMPARE(tst::treeText(all.root()), tree);
}

void TestDatabaseSession::storesWithoutAllOfTheirViewsAreRefused_data()
{
    QTest::addColumn<QByteArray>("entries");
    QTest::newRow("a missing entry") << QByteArray("Entries\\3\\ViewID=B\nEntries\\size=3\n");
    QTest::newRow("a view's entries without their size")
        << QByteArray("Entries\\size=1\nViews\\1\\ID=A\n"
                      "Views\\1\\Entries\\1\\NodeID=a\nViews\\size=1\n");
}

void TestDatabaseSession::storesWithoutAllOfTheirViewsAreRefused()
{
    QFETCH(QByteArray, entries);
    const QString path = m_folder.filePath(text("hostile.ini"));
    const QByteArray content = "[NodeViews]\nEntries\\1\\ViewID=A\n" + entries;
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite | QIODevice::Truncate));
    QCOMPARE(file.write(content), qint64(content.size()));
    QVERIFY(file.flush());
    Session session;
    QVERIFY(session.open(path).contains(path));
    QVERIFY(file.seek(0));
    QCOMPARE(file.readAll(), content);
}

QTEST_GUILESS_MAIN(TestDatabaseSession)
#include "tst_databasesession.moc"
