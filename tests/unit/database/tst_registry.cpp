// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/registrylock_p.h"
#include "discovery/nodehintipdevice.h"
#include "shared/databasefixture.h"
#include "shared/startedthread.h"

#include "platform/properties/properties.h"

#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <future>
#include <stdexcept>

using namespace tq;
using tst::started;
using tst::text;

class TestRegistry : public QObject
{
    Q_OBJECT

private slots:
    void acquiredNodesAreRemovedByTheLastRelease();
    void releaseWithoutAcquireIsLogged();
    void removalIsRefusedDuringAnUpdateAndNotRetried();
    void insertingOverAnIdStartsAnew();
    void insertedNodesAnnounceAndRelay();
    void updateReplacesTheNode();
    void updateRelaysConnectionDataLater();
    void updateTimesOutOrWaits();
    void waitersAskOnlyWhenWoken();
    void waiterWakesWhenTheNodeIsRemoved();
    void failingCopiesLeaveTheNodeUsable();
    void aNodeIsStoredOnce();
    void argumentsMayDieWithTheirNode();
    void throwingAccessorsAreSurvived();
    void pinsOutliveUpdates();
    void changesUnderTheLockAreRefused();
    void lateChangesOfAnEditedNodeAreKept();
    void searchesAnswerInOrder();
    void nodesOfOtherThreadsMoveIn();
    void displacedNodesMayCallBackWhileTheyDie();
    void nothingRecreatesTheDatabaseWhileItEnds();
};

void TestRegistry::acquiredNodesAreRemovedByTheLastRelease()
{
    tst::Database f;
    f.insertPlain(text("n"));
    f.trace.take();
    f.db->acquire(text("n"));
    f.db->acquire(text("n"));
    f.db->removeNode(text("n"));
    QCOMPARE(f.log.lines().last(),
        text("1 NodeDB::removeNode removal deferred because node is acquired name of n"));
    f.db->release(text("n"));
    QVERIFY(!f.db->node(text("n")).null());
    QCOMPARE(f.trace.take(), QStringList());
    f.clearModified();
    f.db->release(text("n"));
    QVERIFY(f.db->node(text("n")).null());
    QCOMPARE(f.trace.take(), QStringList(text("nodeRemoved(n)")));
    QCOMPARE(f.log.lines().last(), text("1 Node removed: name of n"));
    QVERIFY(f.db->isModified());
}

void TestRegistry::releaseWithoutAcquireIsLogged()
{
    tst::Database f;
    f.insertPlain(text("n"));
    f.db->release(text("n"));
    f.db->release(text("un\nknown"));
    QCOMPARE(f.log.linesWith(text("release")),
        QStringList({ text("2 NodeDB::release: no matching acquire call found n"),
            text("2 NodeDB::release: no matching acquire call found un\\u000aknown") }));
    f.db->acquire(text("unknown"));
    f.db->release(text("unknown"));
    f.db->removeNode(text("unknown"));
    QCOMPARE(
        f.log.lines().last(), text("2 NodeDB::removeNode remove on non-existing node unknown"));
}

void TestRegistry::removalIsRefusedDuringAnUpdateAndNotRetried()
{
    tst::Database f;
    f.insertPlain(text("n"));
    f.db->acquire(text("n"));
    f.db->removeNode(text("n"));
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    f.db->release(text("n"));
    QCOMPARE(f.log.lines().last(),
        text("2 Couldn't remove node because it is locked by another consumer. Node id: n"));
    f.db->endUpdateNode(copy);
    QCOMPARE(f.db->node(text("n")).get(), copy);
    // the count is 0 now and the removal still due: any later release performs it
    f.db->acquire(text("n"));
    f.db->release(text("n"));
    QVERIFY(f.db->node(text("n")).null());
}

void TestRegistry::insertingOverAnIdStartsAnew()
{
    tst::Database f;
    const QPointer<Node> first = f.insertPlain(text("n"));
    f.db->addNodeRelation(text("n"), text("m"), eDeviceToRecordingFolder);
    f.db->acquire(text("n"));
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    f.insertPlain(text("n"));
    QVERIFY(first.isNull());
    QVERIFY(!f.log.linesWith(text("over one that is in use: n")).isEmpty());
    QCOMPARE(f.db->relatedNodes(text("n"), eDeviceToRecordingFolder), QStringList(text("m")));
    Node* const second = f.db->beginUpdateNode(text("n"), 0);
    QVERIFY(second);
    f.db->endUpdateNode(second);
    f.db->endUpdateNode(copy);
    QCOMPARE(f.db->node(text("n")).get(), copy);
    f.db->removeNode(text("n"));
    QVERIFY(f.db->node(text("n")).null());
}

void TestRegistry::insertedNodesAnnounceAndRelay()
{
    tst::Database f;
    auto* const silent = new tst::PlainNode(text("silent"));
    silent->setShouldPersist(false);
    f.db->insertNode(silent);
    QVERIFY(!f.db->isModified());
    tst::DeviceNode* const device = f.insertDevice(text("d"));
    QVERIFY(f.db->isModified());
    emit device->changed(text("d"));
    emit device->connectionDataChanged(text("d"));
    QCOMPARE(f.trace.take(),
        QStringList({ text("nodeInserted(silent)"), text("nodeInserted(d)"), text("nodeUpdated(d)"),
            text("connectionDataChanged(d)") }));
    QCOMPARE(f.log.lines().first(), text("1 Node inserted: "));
}

void TestRegistry::updateReplacesTheNode()
{
    tst::Database f;
    QVERIFY(!f.db->beginUpdateNode(text("unknown"), -1));
    QCOMPARE(f.trace.take(), QStringList());
    f.insertPlain(text("n"));
    f.clearModified();
    const tqm::smart<const Node> before = f.db->node(text("n"));
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    copy->setName(text("new"));
    QCOMPARE(before->name(), text("name of n"));
    QCOMPARE(f.db->node(text("n")).get(), before.get());
    f.db->endUpdateNode(copy);
    f.db->endUpdateNode(nullptr);
    QCOMPARE(f.db->node(text("n"))->name(), text("new"));
    QCOMPARE(
        f.trace.take(), text("nodeInserted(n) beginUpdatingNode(n) nodeUpdated(n)").split(u' '));
    QCOMPARE(f.log.linesWith(text("updated")), QStringList(text("1 Node updated: new")));
    QVERIFY(f.db->isModified());
    // a displaced node that somebody holds goes on relaying
    emit const_cast<Node*>(before.get())->changed(text("n"));
    QCOMPARE(f.trace.take(), QStringList(text("nodeUpdated(n)")));
}

void TestRegistry::updateRelaysConnectionDataLater()
{
    tst::Database f;
    f.insertDevice(text("d"), text("h"));
    auto* const copy = static_cast<IPDeviceNode*>(f.db->beginUpdateNode(text("d"), 0));
    copy->setPort(8080);
    f.trace.take();
    QStringList order;
    connect(copy, &IPDeviceNode::connectionDataChanged, f.db, [&] { order.append(text("hook")); });
    connect(f.db, &NodeDB::nodeUpdated, copy, [&] { order.append(text("updated")); });
    f.db->endUpdateNode(copy);
    QCOMPARE(order, QStringList({ text("hook"), text("updated") }));
    QCOMPARE(f.trace.take(), QStringList(text("nodeUpdated(d)")));
    QCOMPARE(f.signals_(), QStringList(text("connectionDataChanged(d)")));
    // only that relay is queued
    emit copy->changed(text("d"));
    QCOMPARE(f.trace.take(), QStringList(text("nodeUpdated(d)")));
}

void TestRegistry::updateTimesOutOrWaits()
{
    tst::Database f;
    // A copy that asks the database, on a thread that has waited, too.
    f.insertPlain(text("n"))->onClone = [&] { f.db->nodeIdList(); };
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    f.trace.take();
    QVERIFY(!f.db->beginUpdateNode(text("n"), 100));
    QCOMPARE(f.trace.take(), QStringList(text("beginUpdatingNode(n)")));
    static const QRegularExpression line(text("^2 The update lock was not obtained within "
                                              "\\d{3,} ms, .*Node id: n$"));
    QCOMPARE(f.log.lines().filter(line).size(), 1);

    auto waiter = started([&] {
        if (Node* const second = f.db->beginUpdateNode(text("n"), -1)) {
            second->setModelInfo(second->name());
            f.db->endUpdateNode(second);
        }
    });
    // Its line says that it waits, and it goes on waiting.
    QTRY_VERIFY_WITH_TIMEOUT(
        !f.log.linesWith(text("Still waiting for another update of the node to end: n")).isEmpty(),
        tst::k_deadline);
    copy->setName(text("first"));
    f.db->endUpdateNode(copy);
    waiter.reset();
    QCOMPARE(f.db->node(text("n"))->modelInfo(), text("first"));
}

void TestRegistry::waitersAskOnlyWhenWoken()
{
    RegistryLock lock;
    std::atomic<int> asked = 0;
    auto waiter = started([&] {
        lock.write("test")->waitUntil(
            [&](const RegistryLock::Writing&) {
                const auto reading = lock.read(); // it counts as the writer after a wait, too
                return ++asked == 4;
            },
            QDeadlineTimer::Forever);
    });
    for (int i = 1; i < 4; ++i) {
        QTRY_VERIFY_WITH_TIMEOUT(asked >= i, tst::k_deadline);
        const auto guard = lock.write("test"); // the waiter waits: it lets go of the lock
        QCOMPARE(asked.load(), i);
        lock.wakeAll();
    }
    waiter.reset();
}

void TestRegistry::waiterWakesWhenTheNodeIsRemoved()
{
    tst::Database f;
    f.insertPlain(text("n"));
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    std::promise<void> begins;
    Node* got = copy;
    auto waiter = started([&] {
        QObject::connect(
            f.db, &NodeDB::beginUpdatingNode, f.db, [&] { begins.set_value(); },
            Qt::DirectConnection);
        got = f.db->beginUpdateNode(text("n"), -1);
    });
    begins.get_future().wait();
    // removed on the way: an insert over the id opens it, the removal takes it
    auto* const other = new tst::PlainNode(text("n"));
    other->onClone = [] { throw std::runtime_error("no copy"); };
    f.db->insertNode(other);
    f.db->removeNode(text("n"));
    waiter.reset();
    QVERIFY(!got);
    f.db->endUpdateNode(copy);
}

void TestRegistry::failingCopiesLeaveTheNodeUsable()
{
    tst::Database f;
    tst::PlainNode* const node = f.insertPlain(text("n"));
    node->onClone = [] { throw std::runtime_error("no copy"); };
    QVERIFY(!f.db->beginUpdateNode(text("n"), -1));
    QVERIFY(!f.log.linesWith(text("no copy")).isEmpty());
    node->onClone = {};
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    QVERIFY(copy);
    f.db->endUpdateNode(copy);
    f.db->removeNode(text("n"));
    QVERIFY(f.db->node(text("n")).null());
}

void TestRegistry::aNodeIsStoredOnce()
{
    tst::Database f;
    tst::PlainNode* const node = f.insertPlain(text("n"));
    f.trace.take();
    f.db->insertNode(node);
    f.db->endUpdateNode(node);
    f.db->insertNode(nullptr);
    QCOMPARE(f.trace.take(), QStringList());
    QCOMPARE(f.db->node(text("n")).get(), node);
    QCOMPARE(f.log.linesWith(text("already")).size(), 2);
    // nor again when it was displaced and somebody still holds it
    const tqm::smart<const Node> held = f.db->node(text("n"));
    f.insertPlain(text("n"));
    f.db->insertNode(node);
    QVERIFY(f.db->node(text("n")).get() != node);
}

void TestRegistry::argumentsMayDieWithTheirNode()
{
    tst::Database f;
    tst::PlainNode* const pinned = f.insertPlain(text("pinned"));
    pinned->acquire();
    f.db->removeNode(text("pinned"));
    pinned->release();
    QVERIFY(f.db->node(text("pinned")).null());

    tst::PlainNode* const related = f.insertPlain(text("related"));
    const auto end = connect(f.db, &NodeDB::nodeRelationAboutToBeAdded, f.db,
        [&] { f.db->removeNode(text("related")); });
    f.trace.take();
    related->addNodeRelation(text("x"), eDeviceToRecordingFolder);
    disconnect(end);
    QCOMPARE(f.trace.take().last(), text("nodeRelationAdded(related,x,1)"));
}

void TestRegistry::throwingAccessorsAreSurvived()
{
    tst::Database f;
    tst::PlainNode* const node = f.insertPlain(text("n"));
    node->onName = [] { throw std::runtime_error("nameless"); };
    f.db->acquire(text("n"));
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    f.db->endUpdateNode(copy);
    f.db->release(text("n"));
    QVERIFY(!f.db->nodenameExists(text("name of n")));
    QVERIFY(f.db->nodeDriver(text("n")).null());
    f.db->removeNode(text("n"));
    QVERIFY(f.db->nodeIdList().isEmpty());
    QCOMPARE(f.log.linesWith(text("threw in name: nameless")).size(), 5);

    tst::PlainNode* const other = f.insertPlain(text("m"));
    const tqgen::StringProperty wanted(text("ModelInfo"), QString(), text("M"));
    other->onRefresh = [&] {
        f.db->removeAllNodes();
        throw std::runtime_error("no refresh");
    };
    other->setModelInfo(text("M"));
    QVERIFY(f.db->search(wanted, eAnyNodeType).isEmpty());
    QCOMPARE(f.log.linesWith(text("holds the database's lock: removeNode")).size(), 1);
    QCOMPARE(f.log.linesWith(text("threw in compareProperty: no refresh")).size(), 1);
    other->onRefresh = {};
    QCOMPARE(f.db->search(wanted, eAnyNodeType), QStringList(text("m")));
}

void TestRegistry::pinsOutliveUpdates()
{
    tst::Database f;
    f.insertPlain(text("n"));
    f.db->acquire(text("n"));
    f.db->endUpdateNode(f.db->beginUpdateNode(text("n"), -7)); // negative: one attempt
    f.db->removeNode(text("n"));
    QVERIFY(!f.db->node(text("n")).null());
    Node* const copy = f.db->beginUpdateNode(text("n"), -7);
    QVERIFY(copy && !f.db->beginUpdateNode(text("n"), -7));
    f.db->endUpdateNode(copy);
    f.db->release(text("n"));
    QVERIFY(f.db->node(text("n")).null());
}

void TestRegistry::changesUnderTheLockAreRefused()
{
    tst::Database f;
    tst::PlainNode* const node = f.insertPlain(text("n"));
    f.trace.take();
    bool couldRead = false;
    node->onClone = [&] {
        couldRead = !f.db->node(text("n")).null() && f.db->nodeIdList().size() == 1;
        f.insertPlain(text("m"));
        f.db->acquire(text("n"));
        f.db->release(text("n"));
        f.db->removeNode(text("n"));
        f.db->addNodeRelation(text("n"), text("n"), eDeviceToRecordingFolder);
        QVERIFY(!f.db->beginUpdateNode(text("n"), 0));
        f.db->removeNodeRelation(text("n"), text("n"), eDeviceToRecordingFolder);
        f.db->removeAllNodeRelations(text("n"));
        f.db->newNodeHint(NodeHintIPDevice());
        NodeDB::freeDB();
    };
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    QVERIFY(copy && couldRead);
    QCOMPARE(f.trace.take(), QStringList(text("beginUpdatingNode(n)")));
    QCOMPARE(f.log.linesWith(text("holds the database's lock")).size(), 10);
    node->onClone = {};
    f.db->endUpdateNode(copy);
    QCOMPARE(f.db->nodeIdList(), QStringList(text("n")));
}

void TestRegistry::lateChangesOfAnEditedNodeAreKept()
{
    tst::Database f;
    f.insertPlain(text("n"));
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    NodeHintIPDevice hint;
    hint.setName(text("name of n"));
    for (const char* news : { "older", "newer" }) {
        hint.setSecondText(text(news));
        f.db->nodeHintChanged(hint);
    }
    f.trace.take();
    f.db->endUpdateNode(copy);
    QCOMPARE(f.db->node(text("n"))->modelInfo(), text("newer"));
    QCOMPARE(
        f.trace.take(), text("nodeUpdated(n) beginUpdatingNode(n) nodeUpdated(n)").split(u' '));
}

void TestRegistry::searchesAnswerInOrder()
{
    tst::Database f;
    for (const char* id : { "c", "ä", "a" })
        f.insertPlain(text(id));
    f.insertDevice(text("b"), text("h"));
    QCOMPARE(f.db->nodeIdList(), text("a b c ä").split(QLatin1Char(' ')));
    QCOMPARE(f.db->search(tst::k_plainType), text("a c ä").split(QLatin1Char(' ')));
    QCOMPARE(f.db->nodeIdList(ENodeType(22)), QStringList());
    const QList<ENodeType> types{ tst::k_plainType, ENodeType(3) };
    QCOMPARE(f.db->nodeIdList(&types, true), QStringList(text("b")));
    QCOMPARE(f.db->nodeIdList(nullptr, true).size(), 4);
    const tqgen::StringProperty name(text("Name"), QString(), text("name of c"));
    QCOMPARE(f.db->search(name, eAnyNodeType), QStringList(text("c")));
    QCOMPARE(f.db->search(name, tst::k_deviceType), QStringList());
    tqgen::PropertySet both;
    both.emplace<tqgen::StringProperty>(text("IP"), QString(), text("h"));
    both.emplace<tqgen::BoolProperty>(text("ShouldPersist"), QString(), true);
    QCOMPARE(f.db->search(both, eAnyNodeType), QStringList(text("b")));
    QVERIFY(f.db->nodenameExists(text("name of c")) && !f.db->nodenameExists(text("Name of c")));
    f.trace.take();
    f.db->acquire(text("b"));
    f.db->removeAllNodes();
    QCOMPARE(f.db->nodeIdList(), QStringList(text("b")));
    QCOMPARE(f.trace.take(),
        QStringList({ text("nodeRemoved(a)"), text("nodeRemoved(c)"), text("nodeRemoved(ä)") }));
}

void TestRegistry::nodesOfOtherThreadsMoveIn()
{
    tst::Database f;
    IPDeviceNode* device = nullptr;
    const auto maker = started([&] { device = f.insertDevice(text("d"), text("h")); });
    QVERIFY(maker->wait());
    QCOMPARE(device->thread(), f.db->thread());
    QCOMPARE(device->proxy().thread(), f.db->thread());
    QSignalSpy spy(device, &IPDeviceNode::connectionDataChanged);
    f.db->setActiveUser(text("ann"));
    QCOMPARE(spy.size(), 1);
    f.db->environments();
}

void TestRegistry::displacedNodesMayCallBackWhileTheyDie()
{
    tst::Database f;
    QStringList seen;
    const auto watch = [&](Node* node) {
        connect(node, &QObject::destroyed, f.db, [&] {
            f.db->acquire(text("other"));
            seen.append(f.db->nodeIdList().join(QLatin1Char(' ')));
        });
    };
    watch(f.insertPlain(text("n")));
    watch(f.insertPlain(text("n")));
    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    watch(copy);
    f.db->endUpdateNode(copy);
    f.db->removeNode(text("n"));
    QCOMPARE(seen, QStringList({ text("n"), text("n"), QString() }));
}

void TestRegistry::nothingRecreatesTheDatabaseWhileItEnds()
{
    tst::LogCapture log;
    for (int i = 0; i < 1000; ++i) {
        NodeDB* const db = NodeDB::getDB();
        tst::FakeDriver driver(text("asks"), { { 7, 1 } });
        auto* const node = new tst::PlainNode(text("n"));
        db->insertNode(node);
        connect(node, &QObject::destroyed, node, [&] { QCOMPARE(NodeDB::getDB(), db); });
        connect(db, &QObject::destroyed, this, [&] { QVERIFY(!NodeDB::getDB()); });
        NodeDB::freeDB();
    }
    tst::FakeDriver driver(text("asks"), { { 7, 1 } });
    NodeDB* made = nullptr;
    driver.onCall = [&] { made = NodeDB::getDB(); };
    NodeDB* const db = NodeDB::getDB();
    QCOMPARE(made, db);
    QVERIFY(!log.linesWith(text("while it is being created")).isEmpty());
    NodeDB::freeDB();
}

QTEST_GUILESS_MAIN(TestRegistry)
#include "tst_registry.moc"
