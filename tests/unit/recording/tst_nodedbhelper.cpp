// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintipdevice.h"
#include "recording/nodedbhelper.h"
#include "shared/databasefixture.h"

#include <QPointer>
#include <QTest>

#include <functional>
#include <stdexcept>
#include <vector>

using namespace tq;
using tst::text;

namespace {

const QString k_device = QStringLiteral("cam");
const QString k_folder = QStringLiteral("new");
const QString k_other = QStringLiteral("old");

NodeID insertFolder(NodeDB& db, const QString& id)
{
    db.insertNode(new tst::PlainNode(id, eRecordingFolderNode));
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
    QStringList refusals() const
    {
        return fixture.log.linesWith(text("2 No recording folder for cam: "));
    }

    tst::FakeDriver driver{ text("folders"), { { eRecordingFolderNode, 1 } } };
    tst::Database fixture;
};

using Action = std::function<void(NodeDB&)>;

/** Something that goes wrong, and what the refusal says of it. */
struct Failure
{
    const char* name;
    const char* why;
    std::function<NodeID(NodeDB&)> create = {}; ///< what the driver does instead
    Action onInserted = {};
    Action onAboutToRelate = {};
};

const std::vector<Failure>& failures()
{
    const auto removeDevice = [](NodeDB& db) { db.removeNode(k_device); };
    const auto removeFolder = [](NodeDB& db) { db.removeNode(k_folder); };
    const auto free = [](NodeDB&) { NodeDB::freeDB(); };
    static const std::vector<Failure> list{
        { "null", "\"\"", [](NodeDB&) { return NodeID(); } },
        { "throws after inserting", "\"\"",
            [](NodeDB& db) -> NodeID {
                insertFolder(db, k_folder);
                throw std::runtime_error("out of room");
            } },
        { "null after inserting two", "\"\"",
            [](NodeDB& db) {
                insertFolder(db, k_folder);
                insertFolder(db, text("second"));
                return NodeID();
            } },
        { "an unknown id", "\"nobody\"", [](NodeDB&) { return text("nobody"); } },
        { "the device", "\"cam\"", [](NodeDB&) { return k_device; } },
        { "a folder that was there", "\"old\"",
            [](NodeDB& db) { return insertFolder(db, k_other); } },
        { "a node of another type", "\"plain\"",
            [](NodeDB& db) {
                db.insertNode(new tst::PlainNode(text("plain")));
                return text("plain");
            } },
        { "device removed when the folder comes", "it was removed", {}, removeDevice },
        { "device removed by a relation", "it was removed", {}, {}, removeDevice },
        { "folder removed when it comes", "\"new\"", {}, removeFolder },
        { "folder removed by a relation", "the folder was removed", {}, {}, removeFolder },
        { "database freed when the folder comes", "freed", {}, free },
        { "database freed by a relation", "freed", {}, {}, free },
    };
    return list;
}

} // namespace

class TestNodeDBHelper : public QObject
{
    Q_OBJECT

private slots:
    void aFolderIsMadeOnce();
    void failuresLeaveNothing_data();
    void failuresLeaveNothing();
    void refusedBeforeTheDriverIsAsked();
    void aFolderOfAnotherDeviceSurvivesAFailure();
    void aDeviceInsertedAnewKeepsItsPins();
};

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
    QCOMPARE(seen.name(), text("Recordings of Gate"));
    QCOMPARE(seen.secondText(), text("//store/records"));
    QCOMPARE(seen.thirdText(), k_device);
    QCOMPARE(seen.user() + seen.password(), text("annasecret"));
    QVERIFY(seen.savePassword());

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
    QTest::addColumn<int>("index");
    for (int i = 0; i < int(failures().size()); ++i)
        QTest::newRow(failures()[std::size_t(i)].name) << i;
}

void TestNodeDBHelper::failuresLeaveNothing()
{
    QFETCH(int, index);
    const Failure& failure = failures()[std::size_t(index)];
    Site site;
    const QPointer<NodeDB> db(site.fixture.db);
    if (failure.create)
        site.driver.onCreate = [&](const NodeHint&) { return failure.create(*db); };
    connect(db, &NodeDB::nodeInserted, db, [&] {
        if (failure.onInserted)
            failure.onInserted(*db);
    });
    connect(db, &NodeDB::nodeRelationAboutToBeAdded, db, [&] {
        if (failure.onAboutToRelate)
            failure.onAboutToRelate(*db);
    });
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
    QCOMPARE(site.fixture.log.linesWith(text("2 ")),
        QStringList({ text("2 No recording folder for nobody: there is no such node"),
            text("2 No recording folder for old: it is one itself") }));
    site.driver.onCall = [] { throw std::runtime_error("no hints today"); };
    QVERIFY(site.create().isNull());
    QCOMPARE(site.refusals(),
        QStringList(text("2 No recording folder for cam: the driver makes no hint")));
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
    site.driver.onCreate = [&](const NodeHint& hint) {
        if (hint.thirdText() != k_device)
            return insertFolder(site.db(), k_folder);
        NodeDBHelper::createRecordingFolder(site.db(), text("second"));
        return NodeID();
    };
    QVERIFY(site.create().isNull());
    QCOMPARE(NodeDBHelper::recordingFolder(site.db(), text("second")), k_folder);
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
