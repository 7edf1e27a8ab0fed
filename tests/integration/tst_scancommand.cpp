// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QRegularExpression>
#include <QTest>

#include <csignal>

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

const QString k_gate = QStringLiteral("mac:025a17000011");

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
    void refusedSimulations_data();
    void refusedSimulations();

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
    return run(QStringList{ text("--simulate"), text("site.json") } + globals
            + QStringList{ text("scan"), text("--for"), text("2"), text("--speed"), text("10") }
            + options,
        QByteArray(), mode);
}

void TestScanCommand::aSimulatedScanCountsAndTellsTheWholeStory()
{
    const Run run = scan({ text("--json") }, { text("--trace") });
    QCOMPARE(run.code, 0);
    const QJsonObject summary = run.document()[text("summary")].toObject();
    const QJsonObject expected{ { text("Found"), 2 }, { text("New"), 2 }, { text("Known"), 0 },
        { text("Lost"), 1 }, { text("Duplicates"), 1 }, { text("Unhandled"), 1 },
        { text("Changed"), 1 }, { text("NotOurs"), 1 }, { text("Unanswered"), 1 } };
    QCOMPARE(summary, expected);
    for (const QJsonValue item : run.items())
        QCOMPARE(item[text("From")].toString(), text("simulated"));

    QMap<QString, QString> outcomes;
    QJsonObject shed;
    for (const QJsonValue story : run.document()[text("trace")].toArray()) {
        QString& all = outcomes[story[text("IP")].toString()];
        all = text("%1 %2/%3")
                  .arg(all, story[text("Hint")].toString(), story[text("Outcome")].toString());
        QCOMPARE(story[text("From")].toString(), text("simulated"));
        if (story[text("IP")].toString() == text("10.77.0.12"))
            shed = story.toObject();
    }
    QCOMPARE(outcomes.take(text("10.77.0.11")), text(" new/won new/duplicate"));
    QCOMPARE(outcomes.take(text("10.77.0.99")), text(" changed/updated gone/lost"));
    QCOMPARE(outcomes.take(text("10.77.0.12")), text(" new/won"));
    QCOMPARE(outcomes.take(text("10.77.0.13")), text(" new/probing"));
    QCOMPARE(outcomes.take(text("10.77.0.14")), text(" new/not ours"));
    QCOMPARE(outcomes.take(text("10.77.0.15")), text(" new/unhandled"));
    QVERIFY(outcomes.isEmpty());
    const QJsonObject driver = shed[text("Drivers")][0].toObject();
    const QJsonValue answer = driver[text("Answers")][0];
    QCOMPARE(driver[text("Won")], QJsonValue(true));
    QCOMPARE(answer[text("AtOnce")], QJsonValue(false));
}

void TestScanCommand::whatIsReadByPeopleIsWhole()
{
    const Run run = scan({}, { text("--trace") }, QProcess::MergedChannels);
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
    QVERIFY(!out.contains(text("No node driver available")));
    const Run verbose = scan({ text("--verbose") }, {});
    QCOMPARE(verbose.error.count(" [2] No node driver available for nodehint: -1\n"), 1);
    QCOMPARE(verbose.error.count(" [2] No node driver available for node type: "), 1);
}

void TestScanCommand::aSimulationKeepsOnlyWhatItIsTold()
{
    tst::write(path("site.json"), QByteArray(k_site).replace("never", "refused"));
    const auto before = hashes();
    const QStringList store{ text("--store"), m_store };
    QCOMPARE(run({ text("--simulate"), text("site.json"), text("list") }).code, 0);
    QCOMPARE(hashes(), before);
    QCOMPARE(scan(store, {}).code, 0);
    QCOMPARE(onStore("list").items().size(), 2);
    // The real scanners are not there, nor is anything found that the site does not have.
    const Run scanners =
        run({ text("--json"), text("--simulate"), text("site.json"), text("scanners") });
    QCOMPARE(scanners.items().size(), 1);
    QCOMPARE(scanners.item()[text("Name")].toString(), text("simulated"));
    const Run again = scan(QStringList(text("--json")) + store, {});
    QCOMPARE(again.document()[text("summary")][text("Known")].toInt(), 2);
    QCOMPARE(again.document()[text("summary")][text("Duplicates")].toInt(), 1);
}

void TestScanCommand::aSignalEndsItAndItsFindsAreKept()
{
    for (const int signal : { SIGINT, SIGTERM, SIGHUP }) {
        QFile::remove(m_store);
        QProcess process;
        process.start(text(NODEDB_PROGRAM),
            text("--simulate %1 --store %2 scan --for 1000")
                .arg(path("site.json"), m_store)
                .split(QLatin1Char(' ')));
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

void TestScanCommand::refusedSimulations_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("named");
    const auto row = [](const char* arguments, int code, const char* named) {
        QTest::newRow(arguments) << text(arguments).split(QLatin1Char(' ')) << code
                                 << QByteArray(named);
    };
    row("--simulate nowhere scan", 1, "nowhere");
    row("--simulate broken.json scan", 1, "broken.json");
    row("--simulate site.json --plugins . scan", 2, "--plugins");
    row("scan --speed 2", 2, "--simulate");
    row("--simulate site.json scan --speed 0", 2, "\"0\"");
    row("--option speed=1 scan", 2, "speed=1");
    row("--option a/b scan", 2, "a/b");
}

void TestScanCommand::refusedSimulations()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QByteArray, named);
    tst::write(path("broken.json"), "{ \"devices\": [ {} ] ");
    const Run ended = run(arguments);
    QCOMPARE(ended.code, code);
    QVERIFY2(ended.error.contains(named), ended.error);
}

QTEST_GUILESS_MAIN(TestScanCommand)
#include "tst_scancommand.moc"
