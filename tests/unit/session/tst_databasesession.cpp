// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/storefactory.h"
#include "session/databasesession.h"
#include "shared/databasefixture.h"
#include "shared/unrulynode.h"
#include "shared/viewtext.h"
#include "views/nodeentry.h"
#include "views/nodeviews.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace tq;
using tst::text;
using View = tqm::smart<NodeView>;

namespace {

constexpr auto k_relation = eDeviceToRecordingFolder;

/** A driver and a session that follow each other's life as in a program. */
struct Session
{
    explicit Session(const QMap<int, int>& types = { { 7, 1 } })
        : driver(text("fake"), types), session({})
    {
    }

    NodeDB& db() { return session.database(); }
    NodeView& root() { return *session.views().root(); }
    QString open(const QString& store) { return session.open(store, OpenMode::Create); }

    const tst::LogCapture log;
    tst::FakeDriver driver;
    DatabaseSession session;
};

NodeView::Entry node(const char* id)
{
    return NodeView::Entry(new NodeEntry(text(id)));
}

/** Returns ids and notes of the nodes that a file holds, then the relations. */
QString summary(const QString& path)
{
    QStringList result;
    const auto store = openStore(path, nullptr, OpenMode::ReadOnly);
    StoreNode root = store ? store->tree() : StoreNode();
    const auto add = [&](const char* group, const char* array, const char* format,
                         const char* first, const char* second) {
        for (auto& [i, entry] : root.groups[text(group)].arrays[text(array)].entries)
            result += text(format).arg(
                entry.values[text(first)].toString(), entry.values[text(second)].toString());
    };
    add("GlobalNodes", "Nodes", "%1=%2", "ID", "Note");
    add("NodeRelations", "Relations", "%1>%2", "NodeFrom", "NodeTo");
    return result.join(u' ');
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
    void nodesAndViewsAreSavedTogether();
    void nodesThatFailKeepTheirEarlierEntries_data();
    void nodesThatFailKeepTheirEarlierEntries();
    void undecidedNodesAreKept_data();
    void undecidedNodesAreKept();
    void nodesOfMissingDriversStayInTheirViews();
    void storesWithoutAllOfTheirViewsAreRefused_data();
    void storesWithoutAllOfTheirViewsAreRefused();

private:
    QTemporaryDir m_folder;
};

void TestDatabaseSession::nodesAndViewsAreSavedTogether()
{
    const QString store = m_folder.filePath(text("together.db"));
    Session first;
    QCOMPARE(first.open(store), QString());
    const View site(new NodeView(text("Site")));
    first.root().append(site);
    QVERIFY(first.session.hasUnsavedChanges());
    QCOMPARE(first.session.save(), QString());
    QVERIFY(!first.session.hasUnsavedChanges());

    first.db().insertNode(new tst::PlainNode(text("a")));
    site->append(node("a"));
    const quint32 before = transactions(store);
    QCOMPARE(first.session.save(), QString());
    QCOMPARE(transactions(store), before + 1);
    QVERIFY(!first.session.hasUnsavedChanges());

    first.db().removeNode(text("a"));
    QCOMPARE(tst::treeText(first.root()), text("(Site())"));
    QVERIFY(first.session.hasUnsavedChanges());
}

void TestDatabaseSession::nodesThatFailKeepTheirEarlierEntries_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : { "throw.db", "throw.ini", "group.db", "endGroup.ini", "throw." })
        QTest::newRow(name) << text(name);
}

void TestDatabaseSession::nodesThatFailKeepTheirEarlierEntries()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    const bool isFile = !name.endsWith(u'.');
    const QString store = isFile ? folder.filePath(name) : text("memory:");
    const QString fault = name.section(u'.', 0, 0);
    Session s;
    QCOMPARE(s.open(store), QString());
    auto* const bad = new tst::UnrulyNode(text("bad"));
    auto* const good = new tst::PlainNode(text("good"));
    auto* const fresh = new tst::UnrulyNode(text("fresh"));
    s.db().insertNode(bad);
    s.db().insertNode(good);
    s.db().addNodeRelation(text("bad"), text("good"), k_relation);
    QCOMPARE(s.session.save(), QString());
    s.db().insertNode(fresh);
    s.db().addNodeRelation(text("fresh"), text("good"), k_relation);
    bad->setNote(fault);
    good->setNote(text("new"));
    fresh->setNote(fault);
    for (int i = 0; i < 2; ++i) { // as often as one likes
        const QString error = s.session.save();
        QVERIFY2(error.contains(text("\"bad\" (its earlier entry stays), \"fresh\" (it is new")),
            qPrintable(error));
        QVERIFY(s.session.hasUnsavedChanges());
        QCOMPARE(summary(store), isFile ? text("bad= good=new bad>good") : QString());
    }
    QVERIFY(!s.log.linesWith(text("bad, driver fake: ")).isEmpty());
    bad->setNote(text("cured"));
    fresh->setNote(text("cured"));
    QCOMPARE(s.session.save(), QString());
    QVERIFY(!s.session.hasUnsavedChanges());
    QCOMPARE(summary(store),
        isFile ? text("bad=cured fresh=cured good=new bad>good fresh>good") : QString());
}

void TestDatabaseSession::undecidedNodesAreKept_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("answer"); // invalid: none is stored
    QTest::newRow("SQLite, none") << text("1.db") << QVariant();
    QTest::newRow("SQLite, a list") << text("2.db") << QVariant(QVariantList{ 1 });
    QTest::newRow("INI, none") << text("1.ini") << QVariant();
    QTest::newRow("INI, empty") << text("2.ini") << QVariant(QString());
}

void TestDatabaseSession::undecidedNodesAreKept()
{
    QFETCH(QString, name);
    QFETCH(QVariant, answer);
    const QTemporaryDir folder;
    const QString path = folder.filePath(name);
    {
        Session first;
        QCOMPARE(first.open(path), QString());
        for (const char* id : { "a", "b", "plain" })
            first.db().insertNode(new tst::PlainNode(text(id)));
        first.db().addNodeRelation(text("a"), text("plain"), k_relation);
        QCOMPARE(first.session.save(), QString());
        const auto store = openStore(path);
        for (const int i : { 0, 1 }) {
            const StoreLocation place{ { text("GlobalNodes"), -1 }, { text("Nodes"), i } };
            StoreNode entry = store->tree(place);
            entry.values.erase(text("ShouldPersist"));
            entry.values[text("Note")] = text("kept");
            if (answer.isValid())
                entry.values[text("ShouldPersist")] = answer;
            putNode(*store, *store, place, entry);
        }
        store->sync();
    }
    Session s;
    QCOMPARE(s.open(path), QString());
    QCOMPARE(s.log.linesWith(text("ShouldPersist is set to yes: a, b")).size(), 1);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(s.session.save(), QString());
        QCOMPARE(summary(path), text("plain= a=kept b=kept a>plain"));
    }
    Node* const copy = s.db().beginUpdateNode(text("a"), 0);
    copy->setShouldPersist(true);
    copy->setNote(text("own"));
    s.db().endUpdateNode(copy);
    s.db().removeNode(text("b"));
    QCOMPARE(s.session.save(), QString());
    QCOMPARE(summary(path), text("a=own plain= a>plain"));
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
