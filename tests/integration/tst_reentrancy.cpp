// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/ipdevicenode.h"
#include "discovery/nodehintipdevice.h"
#include "environments/environments.h"
#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"
#include "shared/calllogdestination.h"
#include "shared/fakedriver.h"
#include "shared/fakenode.h"
#include "shared/logcapture.h"

#include "platform/properties/properties.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <iterator>
#include <memory>

using namespace Qt::StringLiterals;
using namespace tq;

namespace {

using Action = void (*)(NodeDB&);
using Named = std::pair<const char*, Action>;

constexpr auto k_relation = eDeviceToRecordingFolder;

NodeHintIPDevice hintOf(const char* name, int type = -1)
{
    NodeHintIPDevice hint;
    hint.setName(QString::fromUtf8(name));
    hint.setNodeType(ENodeType(type));
    return hint;
}

void update(NodeDB& db)
{
    if (Node* const copy = db.beginUpdateNode(u"plain"_s, 50)) {
        copy->setNote(u"noted"_s);
        db.endUpdateNode(copy);
    }
}

void addRelation(NodeDB& db)
{
    db.addNodeRelation(u"a"_s, u"b"_s, k_relation);
}

void removePlain(NodeDB& db)
{
    db.removeNode(u"plain"_s);
}

void reportFresh(NodeDB& db)
{
    db.newNodeHint(hintOf("fresh"));
}

void setPort(NodeDB& db, int port)
{
    if (auto* const copy = static_cast<IPDeviceNode*>(db.beginUpdateNode(u"device"_s, 50))) {
        copy->setPort(port);
        db.endUpdateNode(copy);
    }
}

/** For each of the database's signals what makes it be emitted. The fixture holds "plain", "device"
 * and a relation. */
const Named k_triggers[] = {
    { "scannerStarted", [](NodeDB& db) { db.startScanners("", 0, 0); } },
    { "scannerStopped", [](NodeDB& db) { db.stopScanners(""); } },
    { "nodeInserted", [](NodeDB& db) { db.insertNode(new tst::PlainNode(u"new"_s)); } },
    { "nodeRemoved", removePlain },
    { "nodeLost", [](NodeDB& db) { db.nodeHintGone(hintOf("plain")); } },
    { "beginUpdatingNode", update },
    { "nodeUpdated", update },
    { "duplicateNodeHint", [](NodeDB& db) { db.newNodeHint(hintOf("plain")); } },
    { "unhandledNodeHint", [](NodeDB& db) { db.newNodeHint(hintOf("odd", 21)); } },
    { "probeFinished", reportFresh },
    { "activeUserChanged", [](NodeDB& db) { db.setActiveUser(u"ann"_s); } },
    { "activeEnvironmentChanged", [](NodeDB& db) { db.setActiveEnvironment(u"other"_s); } },
    { "environmentsChanged",
        [](NodeDB& db) {
            db.environments()->setList({ { u"x"_s, u"X"_s }, { u"y"_s, u"Y"_s } });
        } },
    { "globalPathChanged", [](NodeDB& db) { db.setGlobalRecordingFolderPath(u"/rec"_s); } },
    { "globalAuthenticationChanged",
        [](NodeDB& db) { db.setGlobalAuthentication(u"u"_s, u"p"_s); } },
    { "connectionDataChanged", [](NodeDB& db) { db.globalProxy()->addException(u"direct"_s); } },
    { "connectionDataChanged", [](NodeDB& db) { setPort(db, 81); } },
    { "nodeRelationAboutToBeAdded", addRelation },
    { "nodeRelationAdded", addRelation },
    { "nodeRelationAboutToBeRemoved", removePlain },
    { "nodeRelationRemoved", removePlain },
    { "probeStarted", reportFresh },
    { "probeDecided", reportFresh },
};

/** Every public operation, once; the last one ends the database. */
const Named k_operations[] = {
    { "insertNode", [](NodeDB& db) { db.insertNode(new tst::DeviceNode(u"inner"_s)); } },
    { "insertNode over", [](NodeDB& db) { db.insertNode(new tst::PlainNode(u"plain"_s)); } },
    { "acquire", [](NodeDB& db) { db.acquire(u"plain"_s); } },
    { "release", [](NodeDB& db) { db.release(u"plain"_s); } },
    { "removeNode", removePlain },
    { "removeAllNodes", [](NodeDB& db) { db.removeAllNodes(); } },
    { "update", update },
    { "update device", [](NodeDB& db) { setPort(db, 82); } },
    { "queries",
        [](NodeDB& db) {
            db.node(u"plain"_s);
            db.nodenameExists(u"plain"_s);
            db.nodeIdList();
            db.search(tqgen::StringProperty(u"Name"_s, QString()), eAnyNodeType);
            db.search(tqgen::PropertySet(), eAnyNodeType);
        } },
    { "addNodeRelation", [](NodeDB& db) { db.addNodeRelation(u"c"_s, u"d"_s, k_relation); } },
    { "removeNodeRelation",
        [](NodeDB& db) { db.removeNodeRelation(u"plain"_s, u"device"_s, k_relation); } },
    { "removeAllNodeRelations", [](NodeDB& db) { db.removeAllNodeRelations(u"plain"_s); } },
    { "relation queries",
        [](NodeDB& db) {
            db.relatedNodes(u"plain"_s, k_relation);
            db.relatedSources(u"device"_s, k_relation);
            db.isDestinationOfNodeRelation(u"device"_s, k_relation);
        } },
    { "save",
        [](NodeDB& db) { db.save(std::make_unique<tst::CallLogDestination>().get(), true); } },
    { "load", [](NodeDB& db) { db.load(std::make_unique<tst::CallLogDestination>().get()); } },
    // The other forms of operations, and the settings that announce nothing.
    { "other queries",
        [](NodeDB& db) {
            const QList<ENodeType> types{ tst::k_plainType };
            QString id;
            db.isModified();
            db.search(tst::k_plainType);
            db.nodeIdList(&types, true);
            db.alreadyKnown(hintOf("plain"), id);
            db.nodeDriver(tst::k_plainType);
            db.readableNodeTypeName(tst::k_plainType);
        } },
    { "probe", [](NodeDB& db) { db.probe(hintOf("probed")); } },
    { "scanners by set",
        [](NodeDB& db) {
            db.startScanners(std::set<std::string>{ "fake" }, 0, 0);
            db.stopScanners(std::set<std::string>{});
        } },
    { "setGlobalRecordingFolderUserAndPassword",
        [](NodeDB& db) { db.setGlobalRecordingFolderUserAndPassword(u"r"_s, u"s"_s); } },
    { "transponder",
        [](NodeDB& db) {
            db.setDefaultRecordingTransponderIP(u"h"_s);
            db.setDefaultRecordingTransponderPort(1);
            db.setDefaultRecordingTransponderSsl(true);
            db.setDefaultRecordingTransponderPath(u"p"_s);
            db.setDefaultRecordingTransponderPreviewMode(EPreviewType(1));
            db.setDefaultRecordingTransponderFramerate(2);
            db.setDefaultRecordingTransponderQuality(3);
            db.setDefaultRecordingTransponderResolutionX(4);
            db.setDefaultRecordingTransponderResolutionY(5);
            db.setDefaultRecordingTransponderSound(true);
            db.setDefaultRecordingTransponderUserAndPassword(u"u"_s, u"p"_s, true);
        } },
    { "settings read",
        [](NodeDB& db) {
            db.activeUser();
            db.activeEnvironment();
            db.bandwidth();
            db.globalUser();
            db.globalPassword();
            db.globalRecordingFolderPath();
            db.globalRecordingFolderUser();
            db.globalRecordingFolderPassword();
        } },
    { "setActiveUser", [](NodeDB& db) { db.setActiveUser(u"bob"_s); } },
    { "environments add", [](NodeDB& db) { db.environments()->add(u"Inner"_s); } },
    { "environments setList",
        [](NodeDB& db) {
            db.environments()->setList({ { u"z"_s, u"Z"_s } });
        } },
    { "setActiveEnvironment", [](NodeDB& db) { db.setActiveEnvironment(u"inner"_s); } },
    { "setBandwidth", [](NodeDB& db) { db.setBandwidth(7); } },
    { "setGlobalAuthentication", [](NodeDB& db) { db.setGlobalAuthentication(u"v"_s, u"q"_s); } },
    { "setGlobalRecordingFolderPath",
        [](NodeDB& db) { db.setGlobalRecordingFolderPath(u"/inner"_s); } },
    { "globalProxy", [](NodeDB& db) { db.globalProxy()->setProxyAddress(u"p"_s, 1); } },
    { "drivers",
        [](NodeDB& db) {
            delete db.createNodeFromType(tst::k_plainType);
            db.createNodeHint(tst::k_plainType);
            db.readableNodeTypeNames();
            db.nodeDriver(u"plain"_s);
        } },
    { "startScanners", [](NodeDB& db) { db.startScanners("fake", 0, 0); } },
    { "stopScanners", [](NodeDB& db) { db.stopScanners("fake"); } },
    { "lookupHint", [](NodeDB& db) { db.lookupHint(hintOf("plain")); } },
    { "newNodeHint", [](NodeDB& db) { db.newNodeHint(hintOf("inner hint")); } },
    { "newNodeHint typed", [](NodeDB& db) { db.newNodeHint(hintOf("typed", tst::k_plainType)); } },
    { "nodeHintChanged", [](NodeDB& db) { db.nodeHintChanged(hintOf("plain")); } },
    { "nodeHintGone", [](NodeDB& db) { db.nodeHintGone(hintOf("plain")); } },
    { "probeResult", [](NodeDB& db) { db.probeResult(1, {}, 1); } },
    { "freeDB", [](NodeDB&) { NodeDB::freeDB(); } },
};

/** Runs an action in a slot of a signal, but not again while it runs. */
class Intruder : public QObject
{
    Q_OBJECT

public:
    Intruder(NodeDB& db, const char* signal, Action action) : m_db(db), m_action(action)
    {
        const QMetaObject* const meta = db.metaObject();
        for (int i = 0; i < meta->methodCount(); ++i) {
            if (meta->method(i).name() == signal)
                connect(&db, meta->method(i), this,
                    metaObject()->method(metaObject()->indexOfSlot("intrude()")));
        }
    }

    int runs = 0;

private slots:
    void intrude()
    {
        if (m_inside)
            return;
        m_inside = true;
        ++runs;
        m_action(m_db);
        m_inside = false;
    }

private:
    NodeDB& m_db;
    Action m_action;
    bool m_inside = false;
};

/** Runs one pair on a fresh database, with another thread writing unless the database is to end. */
bool runPair(const Named& trigger, const Named& operation, bool withWriter)
{
    tst::FakeDriver driver(u"driver"_s, { { tst::k_plainType, 1 } });
    tst::FakeScanner scanner(u"scanner"_s, { u"fake"_s });
    driver.probeAnswer = 5;
    NodeDB* const db = NodeDB::getDB();
    auto* const plain = new tst::PlainNode(u"plain"_s);
    plain->setName(u"plain"_s);
    db->insertNode(plain);
    db->insertNode(new tst::DeviceNode(u"device"_s, u"host"_s));
    db->addNodeRelation(u"plain"_s, u"device"_s, k_relation);
    Intruder intruder(*db, trigger.first, operation.second);
    std::atomic<bool> stop = false;
    std::unique_ptr<QThread> writer;
    if (withWriter) {
        writer.reset(QThread::create([&] {
            while (!stop) {
                db->acquire(u"other"_s);
                db->addNodeRelation(u"o"_s, u"p"_s, eRecordingFolderToDevice);
                db->release(u"other"_s);
                db->removeNodeRelation(u"o"_s, u"p"_s, eRecordingFolderToDevice);
            }
        }));
        writer->start();
    }
    trigger.second(*db);
    QCoreApplication::sendPostedEvents();
    stop = true;
    if (writer)
        writer->wait();
    NodeDB::freeDB();
    return intruder.runs > 0;
}

/** What a process of its own does: ends the database in a slot of each signal in turn. */
int endInEverySlot()
{
    const tst::LogCapture quiet(Log::eNothing);
    for (const Named& trigger : k_triggers) {
        std::printf("%s\n", trigger.first);
        std::fflush(stdout);
        if (!runPair(trigger, std::end(k_operations)[-1], false))
            return 1;
    }
    return 0;
}

} // namespace

class TestReentrancy : public QObject
{
    Q_OBJECT

private slots:
    void everyOperationInASlotOfEverySignal();
    void theDatabaseMayEndInAnySlot();
};

void TestReentrancy::everyOperationInASlotOfEverySignal()
{
    const tst::LogCapture quiet(Log::eNothing);
    for (const Named& trigger : k_triggers) {
        for (const Named& operation : k_operations) {
            if (&operation == std::end(k_operations) - 1)
                break; // it ends the database
            QVERIFY2(runPair(trigger, operation, true),
                (QByteArray(trigger.first) + " / " + operation.first).constData());
        }
    }
}

void TestReentrancy::theDatabaseMayEndInAnySlot()
{
    QProcess other;
    other.start(QCoreApplication::applicationFilePath(), { u"--end"_s });
    QVERIFY(other.waitForFinished());
    QVERIFY2(other.exitStatus() == QProcess::NormalExit && other.exitCode() == 0,
        (other.readAllStandardOutput() + other.readAllStandardError()).constData());
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains(u"--end"_s))
        return endInEverySlot();
    TestReentrancy test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_reentrancy.moc"
