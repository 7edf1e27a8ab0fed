// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintipdevice.h"
#include "session/discoveryrecorder.h"
#include "shared/databasefixture.h"

#include <QTest>
#include <QThread>

#include <stdexcept>

using namespace tq;
using tst::text;

namespace {

NodeHintIPDevice named(const QString& name, int type = -1)
{
    NodeHintIPDevice hint;
    hint.setName(name);
    hint.setNodeType(ENodeType(type));
    return hint;
}

NodeHintIPDevice named(const char* name, int type = -1)
{
    return named(text(name), type);
}

/** A scanner that reports while it is being started. */
struct EagerScanner : tst::FakeScanner
{
    using FakeScanner::FakeScanner;

    void start(unsigned int argument, int secondArgument) override
    {
        FakeScanner::start(argument, secondArgument);
        emit newHint(named("early", 9));
        emit newHint(named("known"));
    }
};

/** Two turns of the event loop: what is announced late comes with the second. */
void settle()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents();
}

/** A database with two drivers and two scanners, recorded. */
struct Recorded
{
    explicit Recorded(qsizetype capacity = DiscoveryRecorder::k_capacity)
        : recorder(*f.db, capacity)
    {
        f.db->startScanners("", 0, 0);
    }

    /** Runs `report` on another thread to its end; what it queued is not delivered yet. */
    template <class Report>
    static void elsewhere(Report report)
    {
        const std::unique_ptr<QThread> thread(QThread::create(report));
        thread->start();
        thread->wait();
    }

    HintStory last()
    {
        settle();
        const QList<HintStory> all = recorder.stories();
        return all.isEmpty() ? HintStory() : all.last();
    }

    tst::FakeDriver one{ text("one"), { { 7, 1 } } };
    tst::FakeDriver two{ text("two"), { { 8, 1 }, { 10, 1 } } };
    tst::FakeScanner arp{ text("arp") };
    tst::FakeScanner other{ text("other") };
    tst::Database f;
    DiscoveryRecorder recorder;
};

/** "origin outcome node" of a story, "?" behind an inferred origin. */
QString brief(const HintStory& story)
{
    static const QStringList outcomes{ text("open"), text("duplicate"), text("unhandled"),
        text("probing"), text("nobody"), text("won"), text("made"), text("updated"), text("lost"),
        text("silence") };
    const QString from = story.from() + (story.isInferred ? text("?") : QString());
    return text("%1 %2 %3").arg(from, outcomes[story.outcome], story.nodeId).trimmed();
}

/** All stories from that one on. */
QString briefs(const DiscoveryRecorder& recorder, qsizetype from = 0)
{
    settle();
    QStringList result;
    for (const HintStory& story : recorder.stories().mid(from))
        result.append(brief(story));
    return result.join(text(", "));
}

/** "result weight" of each answer of a driver, "!" for those given at once. */
QString answersOf(const HintStory::Driver& driver)
{
    QStringList result;
    for (const HintStory::Answer& answer : driver.answers)
        result.append(text("%1%2%3")
                          .arg(answer.result)
                          .arg(QLatin1Char("car"[answer.weight]))
                          .arg(answer.isAtOnce ? text("!") : QString()));
    return result.join(QLatin1Char(' '));
}

} // namespace

class TestDiscoveryRecorder : public QObject
{
    Q_OBJECT

private slots:
    void everyOutcomeHasItsStory();
    void whatIsDoneByHandIsToldApart();
    void answersAreWeighedAsTheLibraryDoes();
    void aNodeIsNamedOnlyWhenItIsSure();
    void scannersOnOtherThreads();
    void equalHintsOfTwoScannersAreNobodys();
    void startingAndStoppingConfusesNothing();
    void hintsFromInsideOfADelivery();
    void lossesFromInsideOfADelivery();
    void answersBeforeTheirProbeIsAnnounced();
    void scannersMayBeRestartedInsideOfADelivery();
    void storiesAreBounded();
    void unansweredProbesAreBoundedToo();
    void textsAreBounded();
};

void TestDiscoveryRecorder::everyOutcomeHasItsStory()
{
    Recorded r;
    r.f.insertPlain(text("n"));
    emit r.arp.newHint(named("name of n"));
    emit r.other.newHint(named("odd", 9));
    emit r.arp.newHint(named("typed", 7));
    emit r.arp.newHint(named("strange"));
    r.one.probeAnswer = 20;
    emit r.arp.newHint(named("ours"));
    emit r.arp.hintChanged(named("name of n"));
    emit r.arp.hintChanged(named("nobody"));
    emit r.arp.hintGone(named("ours"));
    QCOMPARE(briefs(r.recorder),
        text("arp duplicate n, other unhandled, arp made one:typed, arp nobody, arp won one:ours, "
             "arp updated n, arp silence, arp lost one:ours"));
    QCOMPARE(r.recorder.storyOfNode(text("one:ours"))->number, 5u);

    emit r.arp.newHint(NodeHintFromARP(text("10.77.0.9"), MACAddress(text("02:77:00:00:00:09"))));
    const HintRecord facts = r.last().facts;
    QCOMPARE(facts.address + facts.mac, text("10.77.0.902:77:00:00:00:09"));
}

void TestDiscoveryRecorder::whatIsDoneByHandIsToldApart()
{
    Recorded r;
    r.f.insertPlain(text("n"));
    r.f.db->newNodeHint(named("name of n"));
    r.f.db->newNodeHint(named("x", 9));
    r.f.db->probe(named("strange"));
    r.f.db->nodeHintGone(named("name of n"));
    QCOMPARE(briefs(r.recorder),
        text("by hand duplicate n, by hand unhandled, by hand nobody, by hand lost n"));

    // Another hint by hand, while a scanner's is between its signal and the database.
    r.f.db->stopScanners("");
    QObject slot;
    connect(&r.arp, &tst::FakeScanner::newHint, &slot,
        [&] { r.f.db->newNodeHint(named("inserted", 9)); });
    r.f.db->startScanners("", 0, 0);
    emit r.arp.newHint(named("name of n"));
    QCOMPARE(briefs(r.recorder, 4), text("arp duplicate n, by hand unhandled"));

    tst::FakeScanner late(text("late"));
    late.start(0, 0);
    const DiscoveryRecorder second(*r.f.db);
    r.f.db->newNodeHint(named("x", 9));
    QCOMPARE(briefs(second), text("unknown unhandled"));
}

void TestDiscoveryRecorder::answersAreWeighedAsTheLibraryDoes()
{
    Recorded r;
    r.one.probeAnswer = 0;
    r.two.probeAnswer = 0; // asked twice, and an answer of it counts twice
    emit r.arp.newHint(named("slow"));
    const int request = r.one.probes.last();
    HintStory story = r.last();
    QCOMPARE(brief(story), text("arp probing"));
    QCOMPARE(story.requestId, request);
    QCOMPARE(story.drivers[1].asked, 2);
    QCOMPARE(story.drivers[1].outstanding, 2);
    QVERIFY(story.probedAt >= story.cameAt);

    r.two.answer(request, -1);
    story = r.last();
    QCOMPARE(story.drivers[0].outstanding, 1);
    QCOMPARE(story.drivers[1].outstanding, 0);
    r.one.answer(request, 30);
    r.one.answer(request, 30);
    story = r.last();
    QCOMPARE(brief(story), text("arp won one:slow"));
    QCOMPARE(answersOf(story.drivers[0]), text("30c 30r"));
    QCOMPARE(answersOf(story.drivers[1]), text("-1c"));
    QVERIFY(story.drivers[0].hasWon && !story.drivers[1].hasWon);

    // One that repeats itself ends a probe before the other has answered.
    emit r.arp.newHint(named("twice"));
    for (int i = 0; i < 3; ++i)
        r.one.answer(r.one.probes.last(), 40);
    r.two.answer(r.one.probes.last(), 1);
    story = r.last();
    QCOMPARE(brief(story), text("arp won one:twice"));
    QCOMPARE(answersOf(story.drivers[0]), text("40c 40a 40a"));
    QCOMPARE(answersOf(story.drivers[1]), text("1r"));
    QCOMPARE(story.drivers[1].outstanding, 0);

    // A certain one wins while the loop that asks is still running.
    r.two.probeAnswer = 1;
    r.one.probeAnswer = -1;
    emit r.arp.newHint(named("sure"));
    story = r.last();
    QCOMPARE(answersOf(story.drivers[0]) + answersOf(story.drivers[1]), text("-1c!1c! 1r!"));
    QVERIFY(story.drivers[1].hasWon);
}

void TestDiscoveryRecorder::aNodeIsNamedOnlyWhenItIsSure()
{
    Recorded r;
    // The winner's own node is of a type that it does not serve.
    r.two.probeAnswer = 10;
    emit r.arp.newHint(named("foreign"));
    QCOMPARE(brief(r.last()), text("arp won"));
    // The winner finds the node there and updates it, instead of making one.
    r.two.probeAnswer = -1;
    r.one.probeAnswer = 0;
    r.f.insertPlain(text("n"));
    emit r.arp.newHint(named("again"));
    r.one.onCall = [&] {
        r.f.db->endUpdateNode(r.f.db->beginUpdateNode(text("n"), 0));
        throw std::runtime_error("no other");
    };
    r.one.answer(r.one.probes.last(), 20);
    r.one.onCall = nullptr;
    QCOMPARE(brief(r.last()), text("arp won n"));
    QVERIFY(r.last().isUpdated);
    QVERIFY(!r.recorder.storyOfNode(text("n")));
    // A slot adds a node of its own to the one that was made.
    QObject slot;
    connect(r.f.db, &NodeDB::nodeInserted, &slot, [&](const NodeID& id) {
        if (id == text("one:made") || id == text("one:won"))
            r.f.insertPlain(text("extra ") + id);
    });
    emit r.arp.newHint(named("made", 7));
    QCOMPARE(brief(r.last()), text("arp made"));
    r.two.probeAnswer = -1;
    r.one.probeAnswer = 20;
    emit r.arp.newHint(named("won"));
    QCOMPARE(brief(r.last()), text("arp won"));
    // A node that was there before the answer is not its node.
    r.one.probeAnswer = 0;
    emit r.arp.newHint(named("slow"));
    r.f.insertPlain(text("earlier"));
    r.one.answer(r.one.probes.last(), 20);
    QCOMPARE(brief(r.last()), text("arp won"));
}

void TestDiscoveryRecorder::scannersOnOtherThreads()
{
    Recorded r;
    r.f.insertPlain(text("n"));
    r.one.probeAnswer = 20;
    Recorded::elsewhere([&] {
        emit r.arp.newHint(named("name of n"));
        emit r.arp.newHint(named("odd", 9));
        emit r.arp.newHint(named("typed", 7));
        emit r.arp.newHint(named("ours"));
        emit r.arp.hintChanged(named("name of n"));
        emit r.arp.hintGone(named("name of n"));
    });
    QVERIFY(r.recorder.stories().isEmpty());
    r.f.db->newNodeHint(named("name of n")); // not delivered yet: this one is no scanner's
    QCOMPARE(briefs(r.recorder),
        text("by hand duplicate n, arp? duplicate n, arp? unhandled, arp? made one:typed, "
             "arp? won one:ours, arp? updated n, arp? lost n"));
}

void TestDiscoveryRecorder::equalHintsOfTwoScannersAreNobodys()
{
    Recorded r;
    // The other one's hint is queued between ours and the database's copy of ours.
    r.f.db->stopScanners("");
    connect(
        &r.arp, &tst::FakeScanner::newHint, &r.other,
        [&](const NodeHint& hint) { emit r.other.newHint(hint); }, Qt::DirectConnection);
    r.f.db->startScanners("", 0, 0);
    Recorded::elsewhere([&] {
        emit r.arp.newHint(named("same", 9));
        emit r.other.newHint(named("its own", 9));
    });
    QCOMPARE(briefs(r.recorder).remove(QLatin1Char('?')),
        text("unknown unhandled, unknown unhandled, other unhandled"));
}

void TestDiscoveryRecorder::startingAndStoppingConfusesNothing()
{
    const EagerScanner eager(text("eager"));
    Recorded r;
    r.f.insertPlain(text("n"));
    QCOMPARE(briefs(r.recorder), text("eager? unhandled, eager? nobody"));
    r.f.db->startScanners("", 0, 0); // the database hears everything twice now
    QVERIFY(!briefs(r.recorder).contains(text("by hand")));
    const qsizetype before = r.recorder.stories().size();
    emit r.arp.newHint(named("name of n"));
    QCOMPARE(briefs(r.recorder, before), text("arp duplicate n, unknown duplicate n"));
    r.f.db->stopScanners("");
    r.f.db->stopScanners("");
    emit r.arp.newHint(named("name of n"));
    QCOMPARE(brief(r.last()), text("arp silence"));
    r.f.db->newNodeHint(named("name of n"));
    QCOMPARE(brief(r.last()), text("by hand duplicate n"));
    r.f.db->startScanners("", 0, 0);
    emit r.arp.newHint(named("odd", 9));
    QCOMPARE(brief(r.last()), text("arp unhandled"));
}

void TestDiscoveryRecorder::hintsFromInsideOfADelivery()
{
    Recorded r;
    r.f.insertPlain(text("n"));
    r.one.probeAnswer = 20;
    QObject slot;
    connect(r.f.db, &NodeDB::duplicateNodeHint, &slot, [&](const NodeHint& hint) {
        r.f.db->nodeHintChanged(hint);
        r.f.db->newNodeHint(named("x", 9));
        emit r.other.newHint(named("inner"));
    });
    emit r.arp.newHint(named("name of n"));
    QCOMPARE(briefs(r.recorder), text("arp duplicate n, by hand unhandled, other won one:inner"));
    QVERIFY(r.recorder.stories().first().isUpdated);

    // While a driver makes a node, probes are announced later than they are answered.
    connect(r.f.db, &NodeDB::nodeInserted, &slot, [&](const NodeID& id) {
        if (id == text("one:outer"))
            emit r.other.newHint(named("within"));
    });
    emit r.arp.newHint(named("outer"));
    QCOMPARE(briefs(r.recorder, 3), text("arp won one:outer, other? won one:within"));
}

void TestDiscoveryRecorder::lossesFromInsideOfADelivery()
{
    Recorded r;
    r.f.insertPlain(text("n"));
    r.f.insertPlain(text("m"));
    QObject slot;
    const auto loseOther = [&] { r.f.db->nodeHintGone(named("name of m")); };
    connect(r.f.db, &NodeDB::duplicateNodeHint, &slot, loseOther);
    emit r.arp.newHint(named("name of n"));
    QCOMPARE(briefs(r.recorder), text("arp duplicate n, by hand lost m"));
    connect(r.f.db, &NodeDB::nodeLost, &slot, [&](const NodeID& id) {
        if (id == text("n"))
            loseOther();
    });
    emit r.arp.hintGone(named("name of n"));
    QCOMPARE(briefs(r.recorder, 2), text("arp lost n, unknown lost m"));
}

void TestDiscoveryRecorder::answersBeforeTheirProbeIsAnnounced()
{
    Recorded r;
    r.one.probeAnswer = 20;
    QObject slot;
    connect(r.f.db, &NodeDB::nodeInserted, &slot, [&](const NodeID& id) {
        if (id != text("one:outer"))
            return;
        r.one.probeAnswer = 0;
        r.two.probeAnswer = 0;
        emit r.other.newHint(named("slow"));
        r.one.answer(r.one.probes.last(), 20);
    });
    emit r.arp.newHint(named("outer"));
    QCOMPARE(brief(r.last()), text("other? probing"));
    QCOMPARE(answersOf(r.last().drivers[0]), text("20c"));
    r.two.answer(r.one.probes.last(), -1);
    QCOMPARE(brief(r.last()), text("other? won one:slow"));
}

void TestDiscoveryRecorder::scannersMayBeRestartedInsideOfADelivery()
{
    Recorded r;
    QObject slot;
    connect(r.f.db, &NodeDB::nodeInserted, &slot, [&](const NodeID& id) {
        if (id == text("one:typed"))
            r.f.db->startScanners("", 0, 0);
    });
    emit r.arp.newHint(named("typed", 7));
    QCOMPARE(brief(r.last()), text("arp made one:typed"));
    r.f.insertPlain(text("later"));
    QCOMPARE(brief(r.last()), text("arp made one:typed"));
}

void TestDiscoveryRecorder::storiesAreBounded()
{
    Recorded r(100);
    r.one.probeAnswer = 0;
    emit r.arp.newHint(named("waits"));
    const int request = r.one.probes.last();
    constexpr int k_hints = 100000;
    for (int i = 0; i < k_hints; ++i)
        emit r.other.newHint(named(text("odd %1").arg(i), 9));
    const QList<HintStory> stories = r.recorder.stories();
    QCOMPARE(stories.size(), 100);
    QCOMPARE(r.recorder.dropped(), k_hints + 1 - 100);
    QCOMPARE(brief(stories.first()), text("arp probing")); // finished ones go first
    QCOMPARE(stories.last().facts.name, text("odd %1").arg(k_hints - 1));
    r.one.answer(request, 20);
    QCOMPARE(brief(r.recorder.stories().first()), text("arp won one:waits"));
}

void TestDiscoveryRecorder::unansweredProbesAreBoundedToo()
{
    Recorded r(100);
    r.one.probeAnswer = 0;
    r.f.db->stopScanners("");
    constexpr int k_hints = 1000;
    for (int i = 0; i < k_hints; ++i)
        r.f.db->probe(named(text("waits %1").arg(i)));
    QCOMPARE(r.recorder.stories().size(), 100);
    QCOMPARE(r.recorder.stories().last().drivers[0].outstanding, 1);
    // Answers to what was dropped change nothing, and make no new story.
    r.one.answer(r.one.probes.first(), 20);
    QCOMPARE(r.recorder.dropped(), k_hints - 100);
    QCOMPARE(brief(r.recorder.stories().first()), text("by hand probing"));
    for (int i = 0; i < k_hints; ++i)
        r.one.answer(r.one.probes.last(), 20);
    const HintStory::Driver driver = r.recorder.stories().last().drivers[0];
    QCOMPARE(driver.answers.size(), HintStory::k_mostAnswers);
    QCOMPARE(driver.answers.size() + driver.furtherAnswers, k_hints);
}

void TestDiscoveryRecorder::textsAreBounded()
{
    Recorded r;
    NodeHintIPDevice hint = named(QString(1 << 20, QLatin1Char('x')), 9);
    hint.setHostAddress(QString(1 << 20, QLatin1Char('y')));
    emit r.arp.newHint(hint);
    const HintRecord facts = r.last().facts;
    QCOMPARE(facts.name.size(), HintRecord::k_longest);
    QCOMPARE(facts.address.size(), HintRecord::k_longest);
    // Equal in what is shown, and yet another hint.
    hint.setPassword(text("secret"));
    QVERIFY(recordOf(hint).contents != facts.contents);
}

QTEST_GUILESS_MAIN(TestDiscoveryRecorder)
#include "tst_discoveryrecorder.moc"
