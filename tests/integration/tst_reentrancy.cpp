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
#include <functional>
#include <memory>

using namespace tq;

namespace {

using Action = std::function<void(NodeDB&)>;
using Named = std::pair<const char*, Action>;

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

NodeHintIPDevice hintOf(const char* name, int type = -1)
{
    NodeHintIPDevice hint;
    hint.setName(text(name));
    hint.setNodeType(ENodeType(type));
    return hint;
}

void update(NodeDB& db, const QString& id)
{
    if (Node* const copy = db.beginUpdateNode(id, 50)) {
        copy->setNote(text("noted"));
        db.endUpdateNode(copy);
    }
}

void setPort(NodeDB& db, int port)
{
    if (auto* const copy = static_cast<IPDeviceNode*>(db.beginUpdateNode(text("device"), 50))) {
        copy->setPort(port);
        db.endUpdateNode(copy);
    }
}

/** For each of the database's signals what makes it be emitted. The fixture holds "plain", "device"
 * and a relation. */
const std::vector<Named>& triggers()
{
    static const std::vector<Named> list{
        { "scannerStarted", [](NodeDB& db) { db.startScanners("", 0, 0); } },
        { "scannerStopped", [](NodeDB& db) { db.stopScanners(""); } },
        { "nodeInserted", [](NodeDB& db) { db.insertNode(new tst::PlainNode(text("new"))); } },
        { "nodeRemoved", [](NodeDB& db) { db.removeNode(text("plain")); } },
        { "nodeLost", [](NodeDB& db) { db.nodeHintGone(hintOf("plain")); } },
        { "beginUpdatingNode", [](NodeDB& db) { update(db, text("plain")); } },
        { "nodeUpdated", [](NodeDB& db) { update(db, text("plain")); } },
        { "duplicateNodeHint", [](NodeDB& db) { db.newNodeHint(hintOf("plain")); } },
        { "unhandledNodeHint", [](NodeDB& db) { db.newNodeHint(hintOf("odd", 21)); } },
        { "probeFinished", [](NodeDB& db) { db.newNodeHint(hintOf("fresh")); } },
        { "activeUserChanged", [](NodeDB& db) { db.setActiveUser(text("ann")); } },
        { "activeEnvironmentChanged", [](NodeDB& db) { db.setActiveEnvironment(text("other")); } },
        { "environmentsChanged",
            [](NodeDB& db) {
                db.environments()->setList({ { text("x"), text("X") }, { text("y"), text("Y") } });
            } },
        { "globalPathChanged", [](NodeDB& db) { db.setGlobalRecordingFolderPath(text("/rec")); } },
        { "globalAuthenticationChanged",
            [](NodeDB& db) { db.setGlobalAuthentication(text("u"), text("p")); } },
        { "connectionDataChanged",
            [](NodeDB& db) { db.globalProxy()->addException(text("direct")); } },
        { "connectionDataChanged", [](NodeDB& db) { setPort(db, 81); } },
        { "nodeRelationAboutToBeAdded",
            [](NodeDB& db) {
                db.addNodeRelation(text("a"), text("b"), eDeviceToRecordingFolder);
            } },
        { "nodeRelationAdded",
            [](NodeDB& db) {
                db.addNodeRelation(text("a"), text("b"), eDeviceToRecordingFolder);
            } },
        { "nodeRelationAboutToBeRemoved", [](NodeDB& db) { db.removeNode(text("plain")); } },
        { "nodeRelationRemoved", [](NodeDB& db) { db.removeNode(text("plain")); } },
        { "probeStarted", [](NodeDB& db) { db.newNodeHint(hintOf("fresh")); } },
        { "probeDecided", [](NodeDB& db) { db.newNodeHint(hintOf("fresh")); } },
    };
    return list;
}

// Every public operation that does more than return a value, once.

const std::vector<Named>& nodeOperations()
{
    static const std::vector<Named> list{
        { "insertNode", [](NodeDB& db) { db.insertNode(new tst::DeviceNode(text("inner"))); } },
        { "insertNode over", [](NodeDB& db) { db.insertNode(new tst::PlainNode(text("plain"))); } },
        { "acquire", [](NodeDB& db) { db.acquire(text("plain")); } },
        { "release", [](NodeDB& db) { db.release(text("plain")); } },
        { "removeNode", [](NodeDB& db) { db.removeNode(text("plain")); } },
        { "removeAllNodes", [](NodeDB& db) { db.removeAllNodes(); } },
        { "update", [](NodeDB& db) { update(db, text("plain")); } },
        { "update device", [](NodeDB& db) { setPort(db, 82); } },
        { "queries",
            [](NodeDB& db) {
                db.node(text("plain"));
                db.nodenameExists(text("plain"));
                db.nodeIdList();
                db.search(tqgen::StringProperty(text("Name"), QString()), eAnyNodeType);
                db.search(tqgen::PropertySet(), eAnyNodeType);
            } },
        { "addNodeRelation",
            [](NodeDB& db) {
                db.addNodeRelation(text("c"), text("d"), eDeviceToRecordingFolder);
            } },
        { "removeNodeRelation",
            [](NodeDB& db) {
                db.removeNodeRelation(text("plain"), text("device"), eDeviceToRecordingFolder);
            } },
        { "removeAllNodeRelations", [](NodeDB& db) { db.removeAllNodeRelations(text("plain")); } },
        { "relation queries",
            [](NodeDB& db) {
                db.relatedNodes(text("plain"), eDeviceToRecordingFolder);
                db.relatedSources(text("device"), eDeviceToRecordingFolder);
                db.isDestinationOfNodeRelation(text("device"), eDeviceToRecordingFolder);
            } },
        { "save",
            [](NodeDB& db) {
                tst::CallLogDestination target;
                db.save(&target, true);
            } },
        { "load",
            [](NodeDB& db) {
                tst::CallLogDestination source;
                db.load(&source);
            } },
    };
    return list;
}

const std::vector<Named>& otherOperations()
{
    static const std::vector<Named> list{
        { "setActiveUser", [](NodeDB& db) { db.setActiveUser(text("bob")); } },
        { "environments add", [](NodeDB& db) { db.environments()->add(text("Inner")); } },
        { "environments setList",
            [](NodeDB& db) {
                db.environments()->setList({ { text("z"), text("Z") } });
            } },
        { "setActiveEnvironment", [](NodeDB& db) { db.setActiveEnvironment(text("inner")); } },
        { "setBandwidth", [](NodeDB& db) { db.setBandwidth(7); } },
        { "setGlobalAuthentication",
            [](NodeDB& db) { db.setGlobalAuthentication(text("v"), text("q")); } },
        { "setGlobalRecordingFolderPath",
            [](NodeDB& db) { db.setGlobalRecordingFolderPath(text("/inner")); } },
        { "globalProxy", [](NodeDB& db) { db.globalProxy()->setProxyAddress(text("p"), 1); } },
        { "drivers",
            [](NodeDB& db) {
                delete db.createNodeFromType(tst::k_plainType);
                db.createNodeHint(tst::k_plainType);
                db.readableNodeTypeNames();
                db.nodeDriver(text("plain"));
            } },
        { "startScanners", [](NodeDB& db) { db.startScanners("fake", 0, 0); } },
        { "stopScanners", [](NodeDB& db) { db.stopScanners("fake"); } },
        { "lookupHint", [](NodeDB& db) { db.lookupHint(hintOf("plain")); } },
        { "newNodeHint", [](NodeDB& db) { db.newNodeHint(hintOf("inner hint")); } },
        { "newNodeHint typed",
            [](NodeDB& db) { db.newNodeHint(hintOf("typed", tst::k_plainType)); } },
        { "nodeHintChanged", [](NodeDB& db) { db.nodeHintChanged(hintOf("plain")); } },
        { "nodeHintGone", [](NodeDB& db) { db.nodeHintGone(hintOf("plain")); } },
        { "probeResult", [](NodeDB& db) { db.probeResult(1, {}, 1); } },
        { "freeDB", [](NodeDB&) { NodeDB::freeDB(); } },
    };
    return list;
}

/** What is left: the other forms of operations, and the settings that announce nothing. */
const std::vector<Named>& quietOperations()
{
    static const std::vector<Named> list{
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
            [](NodeDB& db) { db.setGlobalRecordingFolderUserAndPassword(text("r"), text("s")); } },
        { "transponder",
            [](NodeDB& db) {
                db.setDefaultRecordingTransponderIP(text("h"));
                db.setDefaultRecordingTransponderPort(1);
                db.setDefaultRecordingTransponderSsl(true);
                db.setDefaultRecordingTransponderPath(text("p"));
                db.setDefaultRecordingTransponderPreviewMode(EPreviewType(1));
                db.setDefaultRecordingTransponderFramerate(2);
                db.setDefaultRecordingTransponderQuality(3);
                db.setDefaultRecordingTransponderResolutionX(4);
                db.setDefaultRecordingTransponderResolutionY(5);
                db.setDefaultRecordingTransponderSound(true);
                db.setDefaultRecordingTransponderUserAndPassword(text("u"), text("p"), true);
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
    };
    return list;
}

/** Returns all of them; the last one ends the database. */
const std::vector<Named>& operations()
{
    static const std::vector<Named> list = [] {
        std::vector<Named> all = nodeOperations();
        all.insert(all.end(), quietOperations().begin(), quietOperations().end());
        all.insert(all.end(), otherOperations().begin(), otherOperations().end());
        return all;
    }();
    return list;
}

/** Runs an action in a slot of a signal, but not again while it runs. */
class Intruder : public QObject
{
    Q_OBJECT

public:
    Intruder(NodeDB& db, const char* signal, const Action& action) : m_db(db), m_action(action)
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
    tst::FakeDriver driver(text("driver"), { { tst::k_plainType, 1 } });
    tst::FakeScanner scanner(text("scanner"), { text("fake") });
    driver.probeAnswer = 5;
    NodeDB* const db = NodeDB::getDB();
    auto* const plain = new tst::PlainNode(text("plain"));
    plain->setName(text("plain"));
    db->insertNode(plain);
    db->insertNode(new tst::DeviceNode(text("device"), text("host")));
    db->addNodeRelation(text("plain"), text("device"), eDeviceToRecordingFolder);
    Intruder intruder(*db, trigger.first, operation.second);
    std::atomic<bool> stop = false;
    std::unique_ptr<QThread> writer;
    if (withWriter) {
        writer.reset(QThread::create([&] {
            while (!stop) {
                db->acquire(text("other"));
                db->addNodeRelation(text("o"), text("p"), eRecordingFolderToDevice);
                db->release(text("other"));
                db->removeNodeRelation(text("o"), text("p"), eRecordingFolderToDevice);
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
    for (const Named& trigger : triggers()) {
        std::printf("%s\n", trigger.first);
        std::fflush(stdout);
        if (!runPair(trigger, operations().back(), false))
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
    int pairs = 0;
    for (const Named& trigger : triggers()) {
        QByteArray row;
        for (const Named& operation : operations()) {
            if (operation.first == operations().back().first)
                continue;
            const bool ran = runPair(trigger, operation, true);
            row += ran ? '+' : '-';
            QVERIFY2(ran, (QByteArray(trigger.first) + " / " + operation.first).constData());
            ++pairs;
        }
        std::printf("%-30s %s\n", trigger.first, row.constData());
    }
    std::printf("%d pairs\n", pairs);
    QCOMPARE(pairs, int(triggers().size() * (operations().size() - 1)));
}

void TestReentrancy::theDatabaseMayEndInAnySlot()
{
    QProcess other;
    other.start(QCoreApplication::applicationFilePath(), { text("--end") });
    QVERIFY(other.waitForFinished());
    QVERIFY2(other.exitStatus() == QProcess::NormalExit && other.exitCode() == 0,
        (other.readAllStandardOutput() + other.readAllStandardError()).constData());
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains(text("--end")))
        return endInEverySlot();
    TestReentrancy test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_reentrancy.moc"
