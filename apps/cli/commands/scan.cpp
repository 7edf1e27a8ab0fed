// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/discoverywatch.h"
#include "cli/invocation.h"
#include "cli/scanreport.h"
#include "cli/stopsignal.h"
#include "cli/tracereport.h"

#include "discovery/inodescanner.h"
#include "nodestore/nodedb.h"

#include "platform/pluginloader.h"
#include "session/discoveryrecorder.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <set>
#include <string>

namespace tq::cli {

namespace {

const QString k_for = QStringLiteral("for");
const QString k_sweep = QStringLiteral("sweep");
const QString k_scanner = QStringLiteral("scanner");
const QString k_trace = QStringLiteral("trace");
const QString k_speed = QStringLiteral("speed");
constexpr int k_longestScan = 1000000; // s
constexpr int k_msPerSecond = 1000;
constexpr int k_lastProbes = 6000; // ms
constexpr int k_simulatedScan = 10; // s
constexpr int k_highestSpeed = 1000;
constexpr int k_percent = 100;
constexpr unsigned int k_sweepArgument = 1;

/** Refuses a scan that cannot find or keep anything. */
Outcome checkPlugins(Invocation& call, const QStringList& names)
{
    auto& loader = plugin::Loader::instance();
    for (const QString& name : names) {
        if (loader.listComponents("INodeScanner", name.toStdString()).isEmpty())
            return Outcome::refused(QStringLiteral("there is no scanner %1").arg(quoted(name)));
    }
    if (loader.listComponents("INodeScanner").isEmpty())
        return Outcome::refused(QStringLiteral("there is no scanner"));
    if (call.database().readableNodeTypeNames().isEmpty())
        return Outcome::refused(QStringLiteral("there is no driver for any type of node"));
    return Outcome::done();
}

/** One scan, with everybody who looks on. */
class Scan
{
public:
    explicit Scan(Invocation& call)
        : m_call(call)
        , m_recorder(call.database())
        , m_report(call.output())
        , m_watch(call.database(), &m_recorder)
    {
        for (const QString& name : call.options().values(k_scanner))
            m_names.insert(name.toStdString());
        QObject::connect(&m_watch, &DiscoveryWatch::happened, &m_watch,
            [this](const DeviceEvent& event) { m_report.show(event); });
        // What the rows "not ours" and "no driver" tell.
        for (const char* start : { "No node driver available for nodehint: ",
                 "No node driver available for node type: " })
            m_call.output().log().leaveOut(text(start));
    }

    /** Runs the scanners until the time is out (0: never) or a signal comes; simulated time goes
     * `speed` times as fast. */
    Outcome run(StopSignal& stop, int seconds, int speed);

    /** Saves, and says what was found. */
    Outcome finish();

private:
    bool isAnyRunning() const;

    Invocation& m_call;
    DiscoveryRecorder m_recorder;
    ScanReport m_report;
    DiscoveryWatch m_watch;
    std::set<std::string> m_names;
};

Outcome Scan::run(StopSignal& stop, int seconds, int speed)
{
    QEventLoop loop;
    QObject::connect(&stop, &StopSignal::received, &loop, &QEventLoop::quit);
    if (seconds > 0)
        QTimer::singleShot(seconds * k_msPerSecond, &loop, &QEventLoop::quit);
    QTimer progress;
    QObject::connect(&progress, &QTimer::timeout, &loop,
        [&] { m_report.showProgress(m_watch.openProbes(), m_call.output().log().count()); });
    progress.start(k_msPerSecond);
    NodeDB& database = m_call.database();
    const bool isSimulation = m_call.globals().isSimulation();
    database.startScanners(m_names, m_call.options().isSet(k_sweep) ? k_sweepArgument : 0,
        isSimulation ? speed * k_percent : 0);
    if (isSimulation && !isAnyRunning()) {
        const QString why = m_call.output().log().take(QStringLiteral("Nothing is simulated: "));
        return Outcome::refused(QStringLiteral("the site %1 cannot be simulated: %2")
                                    .arg(quoted(m_call.globals().site), why));
    }
    loop.exec();
    database.stopScanners(m_names);
    // Hints that were on their way when the scanners stopped.
    QCoreApplication::sendPostedEvents();
    if (!stop.hasCome() && m_watch.openProbes() > 0) {
        QObject::connect(&m_watch, &DiscoveryWatch::idle, &loop, &QEventLoop::quit);
        QTimer::singleShot(k_lastProbes, &loop, &QEventLoop::quit);
        loop.exec();
    }
    m_watch.flush();
    m_report.clearProgress();
    m_call.output().log().tell();
    return Outcome::done();
}

bool Scan::isAnyRunning() const
{
    const auto scanners = plugin::Loader::instance().listComponents("INodeScanner");
    return std::any_of(scanners.begin(), scanners.end(),
        [](const tqm::smart<INodeScanner>& each) { return !each.null() && each->isRunning(); });
}

Outcome Scan::finish()
{
    DatabaseSession& session = m_call.session();
    const bool isKept = !m_call.globals().keepsNothing();
    Outcome outcome;
    if (isKept && (session.hasUnsavedChanges() || !QFile::exists(session.location())))
        outcome = m_call.save();
    if (!outcome.isDone())
        return outcome;
    const QString counts = m_report.summary(m_watch.openProbes());
    const QString kept = QStringLiteral("%1 stored in %2")
                             .arg(m_call.database().nodeIdList().size())
                             .arg(session.location());
    const QString forgotten = QStringLiteral("nothing is stored of a simulation without --store");
    m_call.output().print(counts + QStringLiteral("; ") + (isKept ? kept : forgotten));
    if (m_call.options().isSet(k_trace))
        reportTrace(m_call.output(), m_recorder);
    return outcome;
}

/** Reads how long to scan, 0 for ever. */
Outcome readDuration(Invocation& call, int& seconds)
{
    Outcome outcome;
    if (call.options().isSet(k_for)) {
        if (const auto given = call.number(k_for, 1, k_longestScan, outcome))
            seconds = *given;
    } else if (call.globals().isSimulation()) {
        seconds = k_simulatedScan;
    }
    return outcome;
}

Outcome readSpeed(Invocation& call, int& speed)
{
    Outcome outcome;
    if (!call.options().isSet(k_speed))
        return outcome;
    if (!call.globals().isSimulation())
        return Outcome::usage(QStringLiteral("--%1 wants --simulate").arg(k_speed));
    if (const auto given = call.number(k_speed, 1, k_highestSpeed, outcome))
        speed = *given;
    return outcome;
}

Outcome scan(Invocation& call)
{
    StopSignal stop;
    int seconds = 0;
    int speed = 1;
    Outcome outcome = readDuration(call, seconds);
    if (outcome.isDone())
        outcome = readSpeed(call, speed);
    if (outcome.isDone())
        outcome = call.open(OpenMode::Create);
    if (outcome.isDone())
        outcome = checkPlugins(call, call.options().values(k_scanner));
    if (!outcome.isDone())
        return outcome;
    if (call.globals().isSimulation())
        call.output().notice(QStringLiteral("nodedb: simulating %1 for %2 s; --for sets the time")
                                 .arg(quoted(call.globals().site))
                                 .arg(seconds));
    Scan scan(call);
    outcome = scan.run(stop, seconds, speed);
    return outcome.isDone() ? scan.finish() : outcome;
}

} // namespace

QList<Command> scanCommands()
{
    const auto addOptions = [](QCommandLineParser& parser) {
        parser.addOptions({
            { k_for, QStringLiteral("End after so many seconds, not only at Ctrl-C."),
                QStringLiteral("SECONDS") },
            { k_sweep,
                QStringLiteral("Make the system ask for every address of its own networks, again "
                               "after 1 to 8 minutes, and for devices that fell silent.") },
            { k_scanner, QStringLiteral("Use only this scanner; may be repeated."),
                QStringLiteral("NAME") },
            { k_speed, QStringLiteral("Let simulated time go N times as fast."),
                QStringLiteral("N") },
            { k_trace,
                QStringLiteral("Tell the story of each hint afterwards: who reported it, "
                               "what each driver answered and when.") },
        });
    };
    return { { QStringLiteral("scan"), QString(),
        QStringLiteral("Look for devices and store those that a driver recognises."), 0, 0,
        addOptions, scan } };
}

} // namespace tq::cli
