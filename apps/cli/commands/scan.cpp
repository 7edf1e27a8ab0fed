// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/discoverywatch.h"
#include "cli/invocation.h"
#include "cli/scanreport.h"
#include "cli/stopsignal.h"

#include "nodestore/nodedb.h"

#include "platform/pluginloader.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <set>
#include <string>

namespace tq::cli {

namespace {

const QString k_for = QStringLiteral("for");
const QString k_sweep = QStringLiteral("sweep");
const QString k_scanner = QStringLiteral("scanner");
constexpr int k_longestScan = 1000000; // s
constexpr int k_msPerSecond = 1000;
constexpr int k_lastProbes = 6000; // ms
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

/** Runs the scanners until the time is out (0: never) or a signal comes. */
void runScanners(
    Invocation& call, DiscoveryWatch& watch, ScanReport& report, StopSignal& stop, int seconds)
{
    std::set<std::string> names;
    for (const QString& name : call.options().values(k_scanner))
        names.insert(name.toStdString());
    QEventLoop loop;
    QObject::connect(&stop, &StopSignal::received, &loop, &QEventLoop::quit);
    if (seconds > 0)
        QTimer::singleShot(seconds * k_msPerSecond, &loop, &QEventLoop::quit);
    QTimer progress;
    QObject::connect(
        &progress, &QTimer::timeout, &loop, [&] { report.showProgress(watch.openProbes()); });
    progress.start(k_msPerSecond);
    NodeDB& database = call.database();
    database.startScanners(names, call.options().isSet(k_sweep) ? k_sweepArgument : 0, 0);
    loop.exec();
    database.stopScanners(names);
    // Hints that were on their way when the scanners stopped.
    QCoreApplication::sendPostedEvents();
    if (!stop.hasCome() && watch.openProbes() > 0) {
        QObject::connect(&watch, &DiscoveryWatch::idle, &loop, &QEventLoop::quit);
        QTimer::singleShot(k_lastProbes, &loop, &QEventLoop::quit);
        loop.exec();
    }
    report.clearProgress();
}

Outcome finish(Invocation& call, const ScanReport& report)
{
    DatabaseSession& session = call.session();
    Outcome outcome;
    if (session.hasUnsavedChanges() || !QFile::exists(session.location()))
        outcome = call.save();
    if (outcome.isDone())
        call.output().print(QStringLiteral("%1; %2 stored in %3")
                                .arg(report.counts())
                                .arg(call.database().nodeIdList().size())
                                .arg(session.location()));
    return outcome;
}

Outcome scan(Invocation& call)
{
    StopSignal stop;
    Outcome outcome;
    int seconds = 0;
    if (call.options().isSet(k_for)) {
        const auto given = call.number(k_for, 1, k_longestScan, outcome);
        if (!given)
            return outcome;
        seconds = *given;
    }
    outcome = call.open(OpenMode::ReadWrite);
    if (outcome.isDone())
        outcome = checkPlugins(call, call.options().values(k_scanner));
    if (!outcome.isDone())
        return outcome;
    ScanReport report(call.output());
    DiscoveryWatch watch(call.database());
    QObject::connect(&watch, &DiscoveryWatch::happened, &watch,
        [&](const DeviceEvent& event) { report.show(event); });
    runScanners(call, watch, report, stop, seconds);
    return finish(call, report);
}

} // namespace

QList<Command> scanCommands()
{
    const auto addOptions = [](QCommandLineParser& parser) {
        parser.addOptions({
            { k_for, QStringLiteral("End after so many seconds, not only at Ctrl-C."),
                QStringLiteral("SECONDS") },
            { k_sweep,
                QStringLiteral("Make the system ask for every address of its own networks.") },
            { k_scanner, QStringLiteral("Use only this scanner; may be repeated."),
                QStringLiteral("NAME") },
        });
    };
    return { { QStringLiteral("scan"), QString(),
        QStringLiteral("Look for devices and store those that a driver recognises."), 0, 0,
        addOptions, scan } };
}

} // namespace tq::cli
