// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/environments.h"
#include "environments/globalnetworkproxy.h"
#include "persistence/storefactory.h"
#include "persistence/storelock.h"
#include "session/databasesession.h"
#include "shared/databasefixture.h"
#include "shared/files.h"
#include "shared/unrulynode.h"
#include "shared/viewtext.h"
#include "views/nodeentry.h"
#include "views/nodeviews.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <csignal>
#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace tq;
using tst::text;
using View = tqm::smart<NodeView>;

namespace {

constexpr auto k_relation = eDeviceToRecordingFolder;
const QMap<int, int> k_allTypes{ { 7, 1 }, { 8, 1 } };

/** A driver and a session that follow each other's life as in a program. */
struct Session
{
    explicit Session(const QMap<int, int>& types = { { 7, 1 } })
        : driver(u"fake"_s, types), session({})
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

void saveNodesOfTwoDrivers(const QString& store)
{
    Session all(k_allTypes);
    QCOMPARE(all.open(store), QString());
    all.db().insertNode(new tst::PlainNode(u"plain"_s));
    all.db().insertNode(new tst::DeviceNode(u"device"_s, u"192.0.2.5"_s));
    all.db().addNodeRelation(u"device"_s, u"plain"_s, eDeviceToRecordingFolder);
    all.db().addNodeRelation(u"plain"_s, u"device"_s, eRecordingFolderToDevice);
    const View yard(new NodeView(u"Yard"_s));
    all.root().append(yard);
    for (const char* id : { "device", "plain" })
        yard->append(node(id));
    QCOMPARE(all.session.save(), QString());
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
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_store = m_folder->filePath(u"devices.db"_s);
    }

    void nodesAndViewsAreSavedTogether();
    void nodesThatFailKeepTheirEarlierEntries_data();
    void nodesThatFailKeepTheirEarlierEntries();
    void undecidedNodesAreKept_data();
    void undecidedNodesAreKept();
    void entriesOfMissingDriversSurvive();
    void keptEntriesFollowTheDatabase_data();
    void keptEntriesFollowTheDatabase();
    void savingWhileLoadingIsRefused();
    void aSaveThatFailsLeavesStoreAndChanges();
    void settingsCountAsUnsavedChanges();
    void storesWithoutAllOfTheirViewsAreRefused_data();
    void storesWithoutAllOfTheirViewsAreRefused();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_store;
};

void TestDatabaseSession::nodesAndViewsAreSavedTogether()
{
    Session first;
    QCOMPARE(first.open(m_store), QString());
    const View site(new NodeView(u"Site"_s));
    first.root().append(site);
    QVERIFY(first.session.hasUnsavedChanges());
    QCOMPARE(first.session.save(), QString());
    QVERIFY(!first.session.hasUnsavedChanges());

    first.db().insertNode(new tst::PlainNode(u"a"_s));
    site->append(node("a"));
    QVERIFY(!StoreLock::take(m_store)); // the session has it
    const quint32 before = transactions(m_store);
    QCOMPARE(first.session.save(), QString());
    QCOMPARE(transactions(m_store), before + 1);
    QVERIFY(!first.session.hasUnsavedChanges());

    first.db().removeNode(u"a"_s);
    QCOMPARE(tst::treeText(first.root()), u"(Site())"_s);
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
    const bool isFile = !name.endsWith(u'.');
    const QString store = isFile ? m_folder->filePath(name) : u"memory:"_s;
    const QString fault = name.section(u'.', 0, 0);
    Session s;
    QCOMPARE(s.open(store), QString());
    auto* const bad = new tst::UnrulyNode(u"bad"_s);
    auto* const good = new tst::PlainNode(u"good"_s);
    auto* const fresh = new tst::UnrulyNode(u"fresh"_s);
    s.db().insertNode(bad);
    s.db().insertNode(good);
    s.db().addNodeRelation(u"bad"_s, u"good"_s, k_relation);
    QCOMPARE(s.session.save(), QString());
    s.db().insertNode(fresh);
    s.db().addNodeRelation(u"fresh"_s, u"good"_s, k_relation);
    bad->setNote(fault);
    good->setNote(u"new"_s);
    fresh->setNote(fault);
    for (int i = 0; i < 2; ++i) { // as often as one likes
        const QString error = s.session.save();
        QVERIFY2(error.contains(u"\"bad\" (its earlier entry stays), \"fresh\" (it is new"_s),
            qPrintable(error));
        QVERIFY(s.session.hasUnsavedChanges());
        QCOMPARE(summary(store), isFile ? u"bad= good=new bad>good"_s : QString());
    }
    QVERIFY(!s.log.linesWith(u"bad, driver fake: "_s).isEmpty());
    bad->setNote(u"cured"_s);
    fresh->setNote(u"cured"_s);
    QCOMPARE(s.session.save(), QString());
    QVERIFY(!s.session.hasUnsavedChanges());
    QCOMPARE(summary(store),
        isFile ? u"bad=cured fresh=cured good=new bad>good fresh>good"_s : QString());
}

void TestDatabaseSession::undecidedNodesAreKept_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("answer"); // invalid: none is stored
    QTest::newRow("SQLite, none") << u"1.db"_s << QVariant();
    QTest::newRow("SQLite, a list") << u"2.db"_s << QVariant(QVariantList{ 1 });
    QTest::newRow("INI, none") << u"1.ini"_s << QVariant();
    QTest::newRow("INI, empty") << u"2.ini"_s << QVariant(QString());
}

void TestDatabaseSession::undecidedNodesAreKept()
{
    QFETCH(QString, name);
    QFETCH(QVariant, answer);
    const QString path = m_folder->filePath(name);
    {
        Session first;
        QCOMPARE(first.open(path), QString());
        for (const char* id : { "a", "b", "plain" })
            first.db().insertNode(new tst::PlainNode(text(id)));
        first.db().addNodeRelation(u"a"_s, u"plain"_s, k_relation);
        QCOMPARE(first.session.save(), QString());
        const auto store = openStore(path);
        for (const int i : { 0, 1 }) {
            const StoreLocation place{ { u"GlobalNodes"_s, -1 }, { u"Nodes"_s, i } };
            StoreNode entry = store->tree(place);
            entry.values.erase(u"ShouldPersist"_s);
            entry.values[u"Note"_s] = u"kept"_s;
            if (answer.isValid())
                entry.values[u"ShouldPersist"_s] = answer;
            putNode(*store, *store, place, entry);
        }
        store->sync();
    }
    Session s;
    QCOMPARE(s.open(path), QString());
    QCOMPARE(s.log.linesWith(u"ShouldPersist is set to yes: a, b"_s).size(), 1);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(s.session.save(), QString());
        QCOMPARE(summary(path), u"plain= a=kept b=kept a>plain"_s);
    }
    Node* const copy = s.db().beginUpdateNode(u"a"_s, 0);
    copy->setShouldPersist(true);
    copy->setNote(u"own"_s);
    s.db().endUpdateNode(copy);
    s.db().removeNode(u"b"_s);
    QCOMPARE(s.session.save(), QString());
    QCOMPARE(summary(path), u"a=own plain= a>plain"_s);
}

void TestDatabaseSession::entriesOfMissingDriversSurvive()
{
    saveNodesOfTwoDrivers(m_store);
    const QString tree = u"(Yard(device, plain))"_s;
    for (int i = 0; i < 2; ++i) {
        Session some;
        QCOMPARE(some.open(m_store), QString());
        QCOMPARE(some.db().nodeIdList().value(0), i == 0 ? u"plain"_s : u"new0"_s);
        QCOMPARE(tst::treeText(some.root()), tree);
        QVERIFY(!some.session.hasUnsavedChanges());
        some.db().insertNode(new tst::PlainNode(u"new%1"_s.arg(i)));
        QCOMPARE(some.session.save(), QString());
        QCOMPARE(some.session.save(), QString());
    }
    Session all(k_allTypes);
    QCOMPARE(all.open(m_store), QString());
    QCOMPARE(all.db().nodeIdList(), QStringList({ u"device"_s, u"new0"_s, u"new1"_s, u"plain"_s }));
    QCOMPARE(tst::treeText(all.root()), tree);
    const auto device = all.db().node(u"device"_s);
    QCOMPARE(device->stringProperty(u"IP"_s, QString()), u"192.0.2.5"_s);
    QCOMPARE(all.db().relatedNodes(u"device"_s, eDeviceToRecordingFolder), QStringList(u"plain"_s));
    QCOMPARE(all.db().relatedNodes(u"plain"_s, eRecordingFolderToDevice), QStringList(u"device"_s));
}

void TestDatabaseSession::keptEntriesFollowTheDatabase_data()
{
    QTest::addColumn<bool>("isReplaced");
    QTest::newRow("relations end with the other node") << false;
    QTest::newRow("a new node takes the id") << true;
}

void TestDatabaseSession::keptEntriesFollowTheDatabase()
{
    QFETCH(bool, isReplaced);
    saveNodesOfTwoDrivers(m_store);
    {
        Session some;
        QCOMPARE(some.open(m_store), QString());
        some.db().removeNode(u"plain"_s);
        if (isReplaced)
            some.db().insertNode(new tst::PlainNode(u"device"_s));
        QCOMPARE(some.session.save(), QString());
    }
    Session all(k_allTypes);
    QCOMPARE(all.open(m_store), QString());
    QCOMPARE(all.db().nodeIdList(), QStringList(u"device"_s));
    QCOMPARE(all.db().node(u"device"_s)->type(), isReplaced ? tst::k_plainType : tst::k_deviceType);
    QVERIFY(all.session.relationTypes().isEmpty());
}

void TestDatabaseSession::savingWhileLoadingIsRefused()
{
    {
        Session first;
        QCOMPARE(first.open(m_store), QString());
        for (const char* id : { "a", "b", "c" })
            first.db().insertNode(new tst::PlainNode(text(id)));
        QCOMPARE(first.session.save(), QString());
    }
    const QByteArray before = tst::contentOf(m_store);
    Session second;
    QStringList errors;
    connect(
        &second.db(), &NodeDB::nodeInserted, this, [&] { errors.append(second.session.save()); });
    QCOMPARE(second.open(m_store), QString());
    QCOMPARE(errors.size(), 3);
    QVERIFY(!errors.contains(QString()));
    QCOMPARE(tst::contentOf(m_store), before);
    QVERIFY(!second.session.hasUnsavedChanges());
}

void TestDatabaseSession::aSaveThatFailsLeavesStoreAndChanges()
{
    Session session;
    QCOMPARE(session.open(m_store), QString());
    session.db().insertNode(new tst::PlainNode(u"a"_s));
    QCOMPARE(session.session.save(), QString());
    const QByteArray before = tst::contentOf(m_store);
    session.db().insertNode(new tst::PlainNode(u"b"_s));
    const auto failsAsItShould = [&] {
        return session.session.save().contains(u"devices.db"_s)
            && session.session.hasUnsavedChanges() && tst::contentOf(m_store) == before;
    };
    const auto limitFiles = [](rlim_t bytes) {
        const rlimit limit{ bytes, RLIM_INFINITY };
        return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
    };
    const auto onTooBig = std::signal(SIGXFSZ, SIG_IGN);
    QVERIFY(limitFiles(1024));
    const bool hasFailed = failsAsItShould();
    QVERIFY(limitFiles(RLIM_INFINITY));
    std::signal(SIGXFSZ, onTooBig);
    QVERIFY(hasFailed);
    QCOMPARE(session.session.save(), QString());
    QVERIFY(!session.session.hasUnsavedChanges());
}

void TestDatabaseSession::settingsCountAsUnsavedChanges()
{
    Session session;
    QCOMPARE(session.open(m_store), QString());
    NodeDB& db = session.db();
    const auto isNoticed = [&](auto change) {
        const bool wasClean =
            session.session.save().isEmpty() && !session.session.hasUnsavedChanges();
        change();
        return wasClean && session.session.hasUnsavedChanges();
    };
    QString id;
    QVERIFY(isNoticed([&] { id = db.environments()->add(u"Office"_s); }));
    QVERIFY(isNoticed([&] { db.setActiveEnvironment(id); }));
    QVERIFY(isNoticed([&] { db.setGlobalAuthentication(u"a"_s, u"b"_s); }));
    QVERIFY(isNoticed([&] { db.setGlobalRecordingFolderPath(u"/rec"_s); }));
    QVERIFY(isNoticed([&] { db.globalProxy()->addException(u"a"_s); }));
    QVERIFY(isNoticed([&] { db.globalProxy()->setUseProxy(true); }));
}

void TestDatabaseSession::storesWithoutAllOfTheirViewsAreRefused_data()
{
    QTest::addColumn<QByteArray>("entries");
    QTest::newRow("a missing entry") << "Entries\\3\\ViewID=B\nEntries\\size=3\n"_ba;
    QTest::newRow("a view's entries without their size")
        << "Entries\\size=1\nViews\\1\\ID=A\n"
           "Views\\1\\Entries\\1\\NodeID=a\nViews\\size=1\n"_ba;
}

void TestDatabaseSession::storesWithoutAllOfTheirViewsAreRefused()
{
    QFETCH(QByteArray, entries);
    m_store = m_folder->filePath(u"hostile.ini"_s);
    const QByteArray content = "[NodeViews]\nEntries\\1\\ViewID=A\n" + entries;
    tst::write(m_store, content);
    Session session;
    QVERIFY(session.open(m_store).contains(m_store));
    QCOMPARE(tst::contentOf(m_store), content);
}

QTEST_GUILESS_MAIN(TestDatabaseSession)
#include "tst_databasesession.moc"
