// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintipdevice.h"
#include "discovery/todolist.h"
#include "shared/databasefixture.h"

#include <QTest>
#include <QThread>

#include <atomic>
#include <optional>
#include <stdexcept>

using namespace tq;
using tst::text;

namespace {

NodeHintIPDevice named(const char* name, int type = -1)
{
    NodeHintIPDevice hint;
    hint.setName(text(name));
    hint.setNodeType(ENodeType(type));
    return hint;
}

} // namespace

class TestDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void scannersAreSwitchedByCapability();
    void hintsAreDecided();
    void changedAndGoneHintsReachTheirNode();
    void answersAreWeighed_data();
    void answersAreWeighed();
    void aDriverOfTwoTypesAnswersTwice();
    void withoutDriversARequestStaysOpen();
    void hintsOutliveTheirScanner();
    void slotsMayReportFurtherHints();
    void misbehavingPluginsAreSurvived();
    void kindsOfHintsMayDeriveFurther();
    void theFirstOfTwoNodesAnswers();
};

void TestDiscovery::scannersAreSwitchedByCapability()
{
    tst::FakeScanner first(text("first"), { text("a"), text("b") });
    tst::FakeScanner second(text("second"), { text("b") });
    tst::Database f;
    f.db->startScanners("b", 7, -3);
    QCOMPARE(first.starts, (QList<QPair<uint, int>>{ { 7u, -3 } }));
    QCOMPARE(f.log.lines(), QStringList(2, text("1 NodeDB::startScanners: b/7")));
    QCOMPARE(f.trace.take(), QStringList(2, text("scannerStarted(b)")));
    emit first.newHint(named("x", 9));
    QCOMPARE(f.trace.take(), QStringList(text("unhandledNodeHint(x)")));
    f.insertPlain(text("n"));
    f.trace.take();
    emit second.hintChanged(named("name of n"));
    emit second.hintGone(named("name of n"));
    QCOMPARE(f.trace.take(),
        QStringList({ text("beginUpdatingNode(n)"), text("nodeUpdated(n)"), text("nodeLost(n)") }));
    f.db->stopScanners(std::set<std::string>{ "b", "a" });
    QVERIFY(!first.isRunning() && !second.isRunning());
    QCOMPARE(f.trace.take(),
        text("scannerStopped(a) scannerStopped(b) scannerStopped(b)").split(QLatin1Char(' ')));
    emit first.newHint(named("x", 9));
    emit second.hintGone(named("name of n"));
    QCOMPARE(f.trace.take(), QStringList());
    f.db->startScanners(std::set<std::string>(), 0, 0);
    QCOMPARE(f.trace.take(), QStringList(2, text("scannerStarted()")));
}

void TestDiscovery::hintsAreDecided()
{
    tst::FakeDriver driver(text("d"), { { 5, 1 } });
    tst::Database f;
    f.insertPlain(text("n"));
    f.trace.take();
    f.db->newNodeHint(named("name of n"));
    QCOMPARE(f.trace.take(), QStringList(text("duplicateNodeHint(name of n,n)")));
    f.db->newNodeHint(named("typed", 5));
    QCOMPARE(f.trace.take(), QStringList(text("nodeInserted(d:typed)")));
    QVERIFY(driver.probes.isEmpty());
    f.log.clear();
    f.db->newNodeHint(named("odd", 6));
    QCOMPARE(f.trace.take(), QStringList(text("unhandledNodeHint(odd)")));
    QCOMPARE(f.log.lines(), QStringList(text("2 No node driver available for node type: 6")));
    QString id = text("untouched");
    QVERIFY(!f.db->alreadyKnown(named("odd"), id));
    QCOMPARE(id, text("untouched"));
    QVERIFY(f.db->lookupHint(named("odd")).isNull());
}

void TestDiscovery::changedAndGoneHintsReachTheirNode()
{
    tst::Database f;
    f.insertPlain(text("n"));
    NodeHintIPDevice hint = named("name of n");
    hint.setSecondText(text("M2"));
    f.insertPlain(QString());
    f.trace.take();
    f.db->nodeHintGone(hint);
    f.db->nodeHintGone(named("unknown"));
    f.db->nodeHintChanged(named("unknown"));
    f.db->nodeHintChanged(hint);
    QCOMPARE(f.trace.take(),
        QStringList({ text("nodeLost(n)"), text("beginUpdatingNode(n)"), text("nodeUpdated(n)") }));
    QCOMPARE(f.db->node(text("n"))->modelInfo(), text("M2"));

    Node* const copy = f.db->beginUpdateNode(text("n"), 0);
    copy->setCreationService(eManualService);
    f.db->endUpdateNode(copy);
    hint.setSecondText(text("M3"));
    f.db->nodeHintChanged(hint);
    QCOMPARE(f.db->node(text("n"))->modelInfo(), text("M2"));
}

void TestDiscovery::answersAreWeighed_data()
{
    QTest::addColumn<QList<int>>("answers");
    QTest::addColumn<int>("winner"); // -1: nobody
    QTest::newRow("smallest, first of equals") << QList<int>{ 5, 3, 3 } << 1;
    QTest::newRow("certain wins at once") << QList<int>{ 3, 1, 1 } << 1;
    QTest::newRow("refused") << QList<int>{ -1, -1, -1 } << -1;
    QTest::newRow("one rank") << QList<int>{ -1, 9, -1 } << 1;
    QTest::newRow("negative rank") << QList<int>{ 4, -5, 9 } << 1;
}

void TestDiscovery::answersAreWeighed()
{
    QFETCH(QList<int>, answers);
    QFETCH(int, winner);
    for (const bool deferred : { false, true }) {
        std::vector<std::unique_ptr<tst::FakeDriver>> drivers;
        for (const int answer : answers) {
            const int index = int(drivers.size());
            drivers.push_back(std::make_unique<tst::FakeDriver>(
                QString::number(index), QMap<int, int>{ { index, 1 } }));
            drivers.back()->probeAnswer = deferred ? 0 : answer;
        }
        tst::Database f;
        f.db->newNodeHint(named("x"));
        const int id = drivers[0]->probes.first();
        if (deferred) {
            QCOMPARE(f.trace.take(), QStringList(text("probeStarted(%1,x)").arg(id)));
            for (std::size_t i = 0; i < drivers.size(); ++i)
                drivers[i]->answer(id, answers.at(qsizetype(i)));
            drivers[0]->answer(id, 1); // late: ignored
        } else {
            // a driver is asked even after another one was certain
            QCOMPARE(drivers[2]->probes, QList<int>{ id });
        }
        QCOMPARE(
            f.db->nodeIdList(), winner < 0 ? QStringList() : QStringList(text("%1:x").arg(winner)));
        QCOMPARE(f.log.linesWith(text("No node driver available for nodehint: -1")).size(),
            winner < 0 ? 1 : 0);
        QCOMPARE(f.trace.take().filter(text("probeDecided")).size(), 1);
    }
}

void TestDiscovery::aDriverOfTwoTypesAnswersTwice()
{
    tst::FakeDriver driver(text("d"), { { 4, 1 }, { 6, 1 } });
    driver.probeAnswer = 0;
    tst::Database f;
    f.db->newNodeHint(named("x"));
    QCOMPARE(driver.probes.size(), 2);
    // connected once for each type: one emission is two answers
    driver.answer(driver.probes.first(), 8);
    QCOMPARE(f.db->nodeIdList(), QStringList(text("d:x")));
    QVERIFY(driver.probes.last() == driver.probes.first());
    const int before = driver.probes.last();
    f.db->probe(named("y"));
    QCOMPARE(driver.probes.last(), before + 1);
}

void TestDiscovery::withoutDriversARequestStaysOpen()
{
    tst::Database f;
    int id = 0;
    connect(f.db, &NodeDB::probeStarted, f.db, [&](int request) { id = request; });
    f.db->newNodeHint(named("x"));
    tst::FakeDriver driver(text("d"), { { 4, 1 } });
    QVERIFY(id > 0 && f.db->nodeIdList().isEmpty());
    f.db->probeResult(id, driver.handle(), -1);
    f.db->probeResult(id, driver.handle(), 5);
    QVERIFY(driver.created.isEmpty());
    f.db->probeResult(id, driver.handle(), 1);
    QCOMPARE(driver.created, QStringList(text("x")));
}

void TestDiscovery::hintsOutliveTheirScanner()
{
    tst::FakeDriver driver(text("d"), { { 4, 1 } });
    driver.probeAnswer = 0;
    tst::Database f;
    {
        tst::FakeScanner scanner(text("s"));
        f.db->startScanners("", 0, 0);
        emit scanner.newHint(*std::make_unique<NodeHintIPDevice>(named("short-lived")));
    }
    driver.answer(driver.probes.first(), 7);
    QCOMPARE(driver.created, QStringList(text("short-lived")));
}

void TestDiscovery::slotsMayReportFurtherHints()
{
    tst::FakeDriver driver(text("d"), { { 4, 1 } });
    driver.probeAnswer = 7;
    tst::Database f;
    std::unique_ptr<QThread> other;
    std::atomic<bool> isStarted = false;
    std::atomic<bool> isOver = false;
    std::atomic<bool> otherWaited = false;
    connect(f.db, &NodeDB::nodeInserted, f.db, [&](const QString& id) {
        if (id != text("d:x"))
            return;
        // another thread waits while the driver is at work; this one is let in
        QVERIFY(ToDoList::isHeldByThisThread());
        other.reset(QThread::create([&] {
            isStarted = true;
            f.db->probeResult(-1, {}, -1);
            otherWaited = isOver.load();
        }));
        other->start();
        for (int i = 0; i < 100 || !isStarted; ++i)
            f.db->newNodeHint(named("y"));
        isOver = true;
    });
    f.db->newNodeHint(named("x"));
    QVERIFY(other->wait());
    QVERIFY(otherWaited);
    QCOMPARE(f.db->nodeIdList(), QStringList({ text("d:x"), text("d:y") }));
}

void TestDiscovery::misbehavingPluginsAreSurvived()
{
    tst::FakeDriver driver(text("d"), { { 4, 1 } });
    driver.probeAnswer = 7;
    tst::Database f;
    driver.onCall = [] { throw std::runtime_error("broken"); };
    f.db->newNodeHint(named("x"));
    QCOMPARE(f.log.linesWith(text("threw in probe: broken")).size(), 1);
    f.db->newNodeHint(named("y", 4));
    QVERIFY(!f.db->createNodeFromType(ENodeType(4)));
    QVERIFY(f.db->createNodeHint(ENodeType(4)).null());
    QVERIFY(f.db->readableNodeTypeName(ENodeType(4)).isNull());
    driver.onCall = {};
    f.db->probeResult(12345, {}, 1);
    f.db->newNodeHint(named("z"));
    f.db->probeResult(driver.probes.last(), {}, 3);
    QCOMPARE(f.db->nodeIdList(), QStringList(text("d:z")));
    NodeDB::freeDB();
    driver.onCall = [] { throw 7; };
    QVERIFY(NodeDB::getDB()->readableNodeTypeNames().isEmpty());
}

void TestDiscovery::kindsOfHintsMayDeriveFurther()
{
    struct Special : NodeHintKind<Special, NodeHintIPDevice>
    {
        int extra = 0;
    };
    Special hint;
    hint.extra = 7;
    hint.setHostAddress(text("h"));
    const std::unique_ptr<NodeHint> copy(hint.clone());
    QCOMPARE(dynamic_cast<Special&>(*copy).extra, 7);
    QCOMPARE(dynamic_cast<NodeHintIPDevice&>(*copy).hostAddress(), text("h"));
}

void TestDiscovery::theFirstOfTwoNodesAnswers()
{
    tst::Database f;
    for (const char* id : { "c", "a", "b" })
        f.insertDevice(text(id), text("10.0.0.1"));
    NodeHintIPDevice hint;
    hint.setHostAddress(text("10.0.0.1"));
    QCOMPARE(f.db->lookupHint(hint), text("a"));
}

QTEST_GUILESS_MAIN(TestDiscovery)
#include "tst_discovery.moc"
