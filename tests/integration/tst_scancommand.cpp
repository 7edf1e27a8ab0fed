// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QRegularExpression>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
using tst::Run;
using tst::text;

namespace {

/** One of each: a camera that is reported again, moves and vanishes, one that answers late, one
 * that never does, one that is no camera, a device that no driver is for. */
const QByteArray k_site = R"({"seed": 7, "devices": [
    {"name": "gate", "address": "10.77.0.11", "mac": "02:5a:17:00:00:11", "title": "Gate",
     "appears": {"by": "arp", "at": 0.1, "times": 2},
     "changes": [{"at": 1.3, "address": "10.77.0.99"}], "vanishes": 1.5},
    {"name": "shed", "address": "10.77.0.12", "mac": "02:5a:17:00:00:12", "title": "Shed",
     "appears": {"by": "arp", "at": 0.2}, "probe": "late", "probeDelay": 0.3},
    {"name": "mute", "address": "10.77.0.13", "mac": "02:5a:17:00:00:13",
     "appears": {"by": "arp", "at": 0.3}, "probe": "never"},
    {"name": "till", "address": "10.77.0.14", "mac": "02:5a:17:00:00:14",
     "appears": {"by": "arp", "at": 0.4}, "probe": "refused"},
    {"name": "printer", "kind": "other", "address": "10.77.0.15", "mac": "02:5a:17:00:00:15",
     "appears": {"by": "ipdevice", "at": 0.5}}]})";

const QString k_gate = u"mac:025a17000011"_s;

} // namespace

class TestScanCommand : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init();

    void aSimulatedScanCountsAndTellsTheWholeStory();
    void whatIsReadByPeopleIsWhole();
    void aSimulationKeepsOnlyWhatItIsTold();
    void aSignalEndsItAndItsFindsAreKept();

private:
    Run scan(const QStringList& globals, const QStringList& options,
        QProcess::ProcessChannelMode mode = QProcess::SeparateChannels) const;
};

void TestScanCommand::init()
{
    begin();
    tst::write(path("site.json"), k_site);
}

Run TestScanCommand::scan(
    const QStringList& globals, const QStringList& options, QProcess::ProcessChannelMode mode) const
{
    return run(QStringList{ u"--simulate"_s, u"site.json"_s } + globals
            + QStringList{ u"scan"_s, u"--for"_s, u"2"_s, u"--speed"_s, u"10"_s } + options,
        QByteArray(), mode);
}

void TestScanCommand::aSimulatedScanCountsAndTellsTheWholeStory()
{
    const Run run = scan({ u"--json"_s }, { u"--trace"_s });
    QCOMPARE(run.code, 0);
    const QJsonObject summary = run.document()[u"summary"_s].toObject();
    const QJsonObject expected{ { u"Found"_s, 2 }, { u"New"_s, 2 }, { u"Known"_s, 0 },
        { u"Lost"_s, 1 }, { u"Duplicates"_s, 1 }, { u"Unhandled"_s, 1 }, { u"Changed"_s, 1 },
        { u"NotOurs"_s, 1 }, { u"Unanswered"_s, 1 } };
    QCOMPARE(summary, expected);
    for (const QJsonValue item : run.items())
        QCOMPARE(item[u"From"_s].toString(), u"simulated"_s);

    QMap<QString, QString> outcomes;
    QJsonObject shed;
    for (const QJsonValue story : run.document()[u"trace"_s].toArray()) {
        QString& all = outcomes[story[u"IP"_s].toString()];
        all = u"%1 %2/%3"_s.arg(all, story[u"Hint"_s].toString(), story[u"Outcome"_s].toString());
        QCOMPARE(story[u"From"_s].toString(), u"simulated"_s);
        if (story[u"IP"_s].toString() == u"10.77.0.12"_s)
            shed = story.toObject();
    }
    QCOMPARE(outcomes.take(u"10.77.0.11"_s), u" new/won new/duplicate"_s);
    QCOMPARE(outcomes.take(u"10.77.0.99"_s), u" changed/updated gone/lost"_s);
    QCOMPARE(outcomes.take(u"10.77.0.12"_s), u" new/won"_s);
    QCOMPARE(outcomes.take(u"10.77.0.13"_s), u" new/probing"_s);
    QCOMPARE(outcomes.take(u"10.77.0.14"_s), u" new/not ours"_s);
    QCOMPARE(outcomes.take(u"10.77.0.15"_s), u" new/unhandled"_s);
    QVERIFY(outcomes.isEmpty());
    const QJsonObject driver = shed[u"Drivers"_s][0].toObject();
    const QJsonValue answer = driver[u"Answers"_s][0];
    QCOMPARE(driver[u"Won"_s], QJsonValue(true));
    QCOMPARE(answer[u"AtOnce"_s], QJsonValue(false));
}

void TestScanCommand::whatIsReadByPeopleIsWhole()
{
    const Run run = scan({}, { u"--trace"_s }, QProcess::MergedChannels);
    QCOMPARE(run.code, 0);
    const QString out = QString::fromUtf8(run.out);
    const auto has = [&](const char* pattern) {
        const QRegularExpression line(text(pattern), QRegularExpression::MultilineOption);
        return out.contains(line);
    };
    QVERIFY(has("^WHAT +ADDRESS +MAC +FROM +NAME +ID$"));
    QVERIFY(has("^new +10.77.0.11 +02:5a:17:00:00:11 +simulated +Gate +mac:025a17000011$"));
    QVERIFY(has("^2 found, 2 of them new, 1 lost, 1 duplicate, 1 unhandled, 1 changed, 1 not ours, "
                "1 not yet answered for; "));
    QVERIFY(has("simulated: no answer for \\d+ ms$"));
    QVERIFY(has("no driver for type \\d+$"));
    QVERIFY(has("; simulated won; node mac:025a17000012$"));
    // The rows tell it; whoever wants to see the log sees it.
    QVERIFY(!out.contains(u"No node driver available"_s));
    const Run verbose = scan({ u"--verbose"_s }, {});
    QCOMPARE(verbose.error.count(" [2] No node driver available for nodehint: -1\n"), 1);
    QCOMPARE(verbose.error.count(" [2] No node driver available for node type: "), 1);
}

void TestScanCommand::aSimulationKeepsOnlyWhatItIsTold()
{
    tst::write(path("site.json"), QByteArray(k_site).replace("never", "refused"));
    const auto before = hashes();
    const QStringList store{ u"--store"_s, m_store };
    QCOMPARE(run({ u"--simulate"_s, u"site.json"_s, u"list"_s }).code, 0);
    QCOMPARE(hashes(), before);
    QCOMPARE(scan(store, {}).code, 0);
    QCOMPARE(onStore("list").items().size(), 2);
    // The real scanners are not there, nor is anything found that the site does not have.
    const Run scanners = run({ u"--json"_s, u"--simulate"_s, u"site.json"_s, u"scanners"_s });
    QCOMPARE(scanners.items().size(), 1);
    QCOMPARE(scanners.item()[u"Name"_s].toString(), u"simulated"_s);
    const Run again = scan(QStringList(u"--json"_s) + store, {});
    QCOMPARE(again.document()[u"summary"_s][u"Known"_s].toInt(), 2);
    QCOMPARE(again.document()[u"summary"_s][u"Duplicates"_s].toInt(), 1);
}

void TestScanCommand::aSignalEndsItAndItsFindsAreKept()
{
    for (const int signal : { SIGINT, SIGTERM, SIGHUP }) {
        QFile::remove(m_store);
        QProcess process;
        process.start(text(NODEDB_PROGRAM),
            u"--simulate %1 --store %2 scan --for 1000"_s.arg(path("site.json"), m_store)
                .split(u' '));
        QByteArray out;
        while (!out.contains("\nnew ") && process.waitForReadyRead())
            out += process.readAllStandardOutput();
        ::kill(pid_t(process.processId()), signal);
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        QVERIFY(!onStore("list").items().isEmpty());
    }
}

QTEST_GUILESS_MAIN(TestScanCommand)
#include "tst_scancommand.moc"
