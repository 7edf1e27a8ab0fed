// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintipdevice.h"
#include "recording/nodedbhelper.h"
#include "shared/databasefixture.h"

#include <QPointer>
#include <QTest>

#include <functional>
#include <stdexcept>

using namespace tq;
using tst::text;

namespace {

const QString k_device = QStringLiteral("cam");
const QString k_folder = QStringLiteral("new");
const QString k_other = QStringLiteral("old");
const QString k_refusal = QStringLiteral("2 No recording folder for ");

/** A folder whose name is that of a device; it fills in only what its hint lacks. */
struct Folder : tst::PlainNode
{
    using PlainNode::PlainNode;
    void fillHint(NodeHint& hint) const override
    {
        hint.setThirdText(hint.thirdText().isEmpty() ? name() : hint.thirdText());
    }
};

NodeID insertFolder(NodeDB& db, const QString& id, const QString& name = QString())
{
    auto* const folder = new Folder(id, eRecordingFolderNode);
    folder->setName(name);
    db.insertNode(folder);
    return id;
}

/** A database with a device, a recording folder that is somebody else's, and a driver of type 0. */
struct Site
{
    Site()
    {
        driver.onCreate = [](const NodeHint&) { return insertFolder(*NodeDB::getDB(), k_folder); };
        fixture.insertDevice(k_device)->setName(text("Gate"));
        insertFolder(*fixture.db, k_other);
        fixture.signals_();
    }

    NodeDB& db() { return *fixture.db; }
    NodeID create() { return NodeDBHelper::createRecordingFolder(db(), k_device); }
    QStringList refusals() const { return fixture.log.linesWith(k_refusal); }

    tst::FakeDriver driver{ text("folders"), { { eRecordingFolderNode, 1 } } };
    tst::Database fixture;
};

/** Something that goes wrong, and what the refusal says of it. */
struct Failure
{
    const char* name;
    const char* why;
    std::function<NodeID(NodeDB&)> create = {}; ///< what the driver does instead
    std::function<void(NodeDB&)> onInserted = {};
    std::function<void(NodeDB&)> onRelating = {};
};

} // namespace

Q_DECLARE_METATYPE(Failure)

class TestNodeDBHelper : public QObject
{
    Q_OBJECT

private slots:
    void aFolderIsFound_data();
    void aFolderIsFound();
    void aFolderIsMadeOnce();
    void failuresLeaveNothing_data();
    void failuresLeaveNothing();
    void refusedBeforeTheDriverIsAsked();
    void aFolderOfAnotherDeviceSurvivesAFailure();
    void aDeviceInsertedAnewKeepsItsPins();
};

/** Words: "a" is a folder, "a=cam" one that names a device, "-a" another node, "cam>a" relates. */
void TestNodeDBHelper::aFolderIsFound_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("found");
    QString many = text("z"); // relations are in no order: the smallest is hardly the first
    for (int i = 99; i >= 10; --i)
        many += text(" %1 cam>%1").arg(i);
    QTest::newRow("related: the smallest") << many << text("10");
    QTest::newRow("related, but no folder") << text("-a b cam>a cam>b") << text("b");
    QTest::newRow("related before named") << text("a=cam b cam>b") << text("b");
    QTest::newRow("named: the smallest") << text("c=cam b=cam a=far") << text("b");
    QTest::newRow("named by another's") << text("a=cam far>a") << QString();
}

void TestNodeDBHelper::aFolderIsFound()
{
    QFETCH(QString, words);
    QFETCH(QString, found);
    tst::Database fixture;
    for (const QString& word : words.split(u' ')) {
        if (word.contains(u'>'))
            fixture.db->addNodeRelation(
                word.section(u'>', 0, 0), word.section(u'>', 1), eDeviceToRecordingFolder);
        else if (word.startsWith(u'-'))
            fixture.insertPlain(word.mid(1));
        else
            insertFolder(*fixture.db, word.section(u'=', 0, 0), word.section(u'=', 1));
    }
    QCOMPARE(NodeDBHelper::recordingFolder(*fixture.db, k_device), found);
}

void TestNodeDBHelper::aFolderIsMadeOnce()
{
    Site site;
    NodeHintIPDevice seen;
    site.driver.onCreate = [&](const NodeHint& hint) {
        seen = dynamic_cast<const NodeHintIPDevice&>(hint);
        return insertFolder(site.db(), k_folder);
    };
    site.db().setGlobalRecordingFolderPath(text("//store/records/"));
    site.db().setGlobalRecordingFolderUserAndPassword(text("anna"), text("secret"));
    site.fixture.signals_();
    QCOMPARE(site.create(), k_folder);
    QCOMPARE(site.fixture.signals_(),
        QStringList({ text("nodeInserted(new)"), text("nodeRelationAboutToBeAdded(cam,new,1)"),
            text("nodeRelationAdded(cam,new,1)"), text("nodeRelationAboutToBeAdded(new,cam,2)"),
            text("nodeRelationAdded(new,cam,2)") }));
    QCOMPARE(seen.nodeType(), eRecordingFolderNode);
    QCOMPARE(seen.secondText(), text("//store/records"));
    QCOMPARE(seen.thirdText(), k_device);
    QCOMPARE(seen.user() + seen.password(), text("annasecret"));
    QCOMPARE(site.create(), k_folder);
    QCOMPARE(site.fixture.signals_(), QStringList());
    site.db().removeNodeRelation(k_folder, k_device, eRecordingFolderToDevice);
    site.fixture.signals_();
    QCOMPARE(site.create(), k_folder);
    QCOMPARE(site.fixture.signals_().size(), 2);
    QCOMPARE(site.db().relatedNodes(k_folder, eRecordingFolderToDevice), QStringList(k_device));
    QCOMPARE(site.fixture.log.linesWith(text("2 ")), QStringList());
}

void TestNodeDBHelper::failuresLeaveNothing_data()
{
    QTest::addColumn<Failure>("failure");
    const auto removeDevice = [](NodeDB& db) { db.removeNode(k_device); };
    const auto removeFolder = [](NodeDB& db) { db.removeNode(k_folder); };
    const auto free = [](NodeDB&) { NodeDB::freeDB(); };
    const Failure failures[]{
        { "throws after inserting two", "\"\"",
            [](NodeDB& db) -> NodeID {
                insertFolder(db, k_folder);
                insertFolder(db, text("second"));
                throw std::runtime_error("out of room");
            } },
        { "an unknown id", "\"nobody\"", [](NodeDB&) { return text("nobody"); } },
        { "the device", "\"cam\"", [](NodeDB&) { return k_device; } },
        { "a folder that was there", "\"old\"",
            [](NodeDB& db) { return insertFolder(db, k_other); } },
        { "device removed when the folder comes", "it was removed", {}, removeDevice },
        { "device removed by a relation", "it was removed", {}, {}, removeDevice },
        { "folder removed when it comes", "\"new\"", {}, removeFolder },
        { "folder removed by a relation", "the folder was removed", {}, {}, removeFolder },
        { "database freed when the folder comes", "freed", {}, free },
        { "database freed by a relation", "freed", {}, {}, free },
    };
    for (const Failure& failure : failures)
        QTest::newRow(failure.name) << failure;
}

void TestNodeDBHelper::failuresLeaveNothing()
{
    QFETCH(Failure, failure);
    Site site;
    const QPointer<NodeDB> db(site.fixture.db);
    if (failure.create)
        site.driver.onCreate = [&](const NodeHint&) { return failure.create(*db); };
    if (failure.onInserted)
        connect(db, &NodeDB::nodeInserted, db, [&] { failure.onInserted(*db); });
    if (failure.onRelating)
        connect(db, &NodeDB::nodeRelationAboutToBeAdded, db, [&] { failure.onRelating(*db); });
    bool isDangling = false;
    connect(db, &NodeDB::nodeRelationAdded, db, [&](const NodeID& from, const NodeID& to) {
        isDangling = isDangling || db->node(from).null() || db->node(to).null();
    });
    QVERIFY(site.create().isNull());
    QVERIFY(!isDangling);
    QCOMPARE(site.refusals().size(), 1);
    QVERIFY2(
        site.refusals().first().contains(text(failure.why)), qPrintable(site.refusals().first()));
    QCOMPARE(site.fixture.log.linesWith(text("matching acquire")), QStringList());
    if (!db)
        return;
    QCOMPARE(db->nodeIdList(eRecordingFolderNode), QStringList(k_other));
    QCOMPARE(db->relatedNodes(k_device, eDeviceToRecordingFolder), QStringList());
    QCOMPARE(db->relatedSources(k_device, eRecordingFolderToDevice), QStringList());
    db->removeAllNodes(); // nothing is pinned any more
    QCOMPARE(db->nodeIdList(), QStringList());
}

void TestNodeDBHelper::refusedBeforeTheDriverIsAsked()
{
    Site site;
    QVERIFY(NodeDBHelper::createRecordingFolder(site.db(), text("nobody")).isNull());
    QVERIFY(NodeDBHelper::createRecordingFolder(site.db(), k_other).isNull());
    site.driver.onCall = [] { throw std::runtime_error("no hints today"); };
    QVERIFY(site.create().isNull());
    QCOMPARE(site.refusals(),
        QStringList({ k_refusal + text("nobody: there is no such node"),
            k_refusal + text("old: it is one itself"),
            k_refusal + text("cam: the driver makes no hint") }));
    QCOMPARE(site.fixture.signals_(), QStringList());

    NodeDB::freeDB();
    tst::FakeDriver others(text("folders"), { { tst::k_plainType, 1 } });
    tst::Database withoutDriver;
    withoutDriver.insertDevice(k_device);
    QVERIFY(NodeDBHelper::createRecordingFolder(*withoutDriver.db, k_device).isNull());
    QCOMPARE(withoutDriver.log.linesWith(text("3 ")),
        QStringList(text("3 Node driver (RecordingFolderNode) is missing")));
}

void TestNodeDBHelper::aFolderOfAnotherDeviceSurvivesAFailure()
{
    Site site;
    site.fixture.insertDevice(text("second"));
    QStringList told;
    site.driver.onCreate = [&](const NodeHint& hint) {
        const bool isSaved = dynamic_cast<const NodeHintIPDevice&>(hint).savePassword();
        told.append(hint.name() + text(isSaved ? ", login saved" : ""));
        if (hint.thirdText() != k_device)
            return insertFolder(site.db(), k_folder);
        site.db().setGlobalRecordingFolderUserAndPassword(QString(), text("secret"));
        NodeDBHelper::createRecordingFolder(site.db(), text("second"));
        return NodeID();
    };
    QVERIFY(site.create().isNull());
    QCOMPARE(NodeDBHelper::recordingFolder(site.db(), text("second")), k_folder);
    QCOMPARE(told.join(u'|'), text("Recordings of Gate|Recordings of second, login saved"));
    site.driver.onCreate = [&](const NodeHint&) { return insertFolder(site.db(), k_device); };
    QVERIFY(site.create().isNull()); // what stands in the device's own place is no folder of it
}

void TestNodeDBHelper::aDeviceInsertedAnewKeepsItsPins()
{
    Site site;
    connect(&site.db(), &NodeDB::nodeRelationAdded, this, [&] {
        site.fixture.insertDevice(k_device);
        site.db().acquire(k_device);
    });
    site.create();
    site.db().removeNode(k_device);
    QVERIFY(!site.db().node(k_device).null());
}

QTEST_GUILESS_MAIN(TestNodeDBHelper)
#include "tst_nodedbhelper.moc"
