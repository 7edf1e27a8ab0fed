// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/deviceread.h"
#include "cli/discoverywatch.h"
#include "cli/inputrules.h"
#include "cli/invocation.h"
#include "cli/nodesummary.h"
#include "cli/passwordinput.h"
#include "cli/proberejection.h"

#include "discovery/nodehintipdevice.h"
#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QTimer>

#include <limits>
#include <optional>

namespace tq::cli {

namespace {

const QString k_type = QStringLiteral("type");
const QString k_port = QStringLiteral("port");
const QString k_ssl = QStringLiteral("ssl");
const QString k_user = QStringLiteral("user");
const QString k_name = QStringLiteral("name");
const QString k_unchecked = QStringLiteral("unchecked");
constexpr int k_probeTimeout = 15000; // ms
constexpr int k_creationTimeout = 2000; // ms

void addOptions(QCommandLineParser& parser)
{
    parser.addOptions({
        { k_type, QStringLiteral("Make a node of this type, without asking the device for it."),
            QStringLiteral("T") },
        { k_port, QStringLiteral("The port of its web server (80, or 443 with --ssl)."),
            QStringLiteral("PORT") },
        { k_ssl, QStringLiteral("It is reached over TLS.") },
        { k_user, QStringLiteral("The user to log in as; its password is asked for."),
            QStringLiteral("USER") },
        { k_unchecked, QStringLiteral("Store the login without trying it.") },
        { k_name, QStringLiteral("Its name for people."), QStringLiteral("NAME") },
    });
    addPasswordOptions(parser);
}

Outcome readLogin(const QCommandLineParser& options, NodeHintIPDevice& hint)
{
    const bool isPassword = isPasswordGiven(options);
    if (!options.isSet(k_user))
        return isPassword ? Outcome::usage(QStringLiteral("a password needs a --user"))
                          : Outcome::done();
    QString password;
    const Outcome outcome = readPassword(
        options, QStringLiteral("password of ") + quoted(options.value(k_user)), password);
    hint.setUser(options.value(k_user));
    hint.setPassword(password);
    // Without this it would be forgotten when the program ends.
    hint.setSavePassword(true);
    return outcome;
}

Outcome readHint(const Invocation& call, NodeHintIPDevice& hint)
{
    const QCommandLineParser& options = call.options();
    const QString address = call.arguments().first();
    QString error = hostError(QStringLiteral("add"), address);
    if (error.isEmpty() && options.isSet(k_name))
        error = nameError(QStringLiteral("node"), options.value(k_name));
    Outcome outcome = error.isEmpty() ? Outcome::done() : Outcome::refused(error);
    hint.setHostAddress(address);
    hint.setName(options.value(k_name));
    hint.setSsl(options.isSet(k_ssl));
    hint.setPort(hint.ssl() ? 443 : 80);
    if (outcome.isDone() && options.isSet(k_port)) {
        if (const auto port = call.number(k_port, 1, k_highestPort, outcome))
            hint.setPort(*port);
    }
    if (outcome.isDone() && options.isSet(k_type)) {
        if (const auto type = call.number(k_type, 0, std::numeric_limits<int>::max(), outcome))
            hint.setNodeType(ENodeType(*type));
    }
    return outcome.isDone() ? readLogin(options, hint) : outcome;
}

/** Waits for what becomes of the hint that was just handed over. */
void waitForFate(DiscoveryWatch& watch, const std::optional<DeviceEvent>& fate)
{
    watch.waitForProbes(k_probeTimeout);
    if (fate || watch.openProbes() > 0)
        return;
    // A driver may take its time between accepting a hint and making the node.
    QEventLoop loop;
    QObject::connect(&watch, &DiscoveryWatch::happened, &loop, &QEventLoop::quit);
    QTimer::singleShot(k_creationTimeout, &loop, &QEventLoop::quit);
    loop.exec();
}

Outcome judge(const std::optional<DeviceEvent>& fate, const NodeHintIPDevice& hint)
{
    const QString address = quoted(hint.hostAddress());
    if (!fate)
        return Outcome::refused(QStringLiteral("no driver made a node of %1").arg(address));
    switch (fate->fate) {
    case DeviceEvent::eNew:
    case DeviceEvent::eChanged: // a known device was met in this environment
        return Outcome::done();
    case DeviceEvent::eNotOurs:
        return Outcome::refused(rejectionText(rejectionOf(fate->request), hint.hostAddress()));
    case DeviceEvent::eNoDriver:
        return Outcome::refused(
            QStringLiteral("there is no driver for the node type %1").arg(int(hint.nodeType())));
    default:
        return Outcome::refused(
            QStringLiteral("%1 is known already, as %2").arg(address, quoted(fate->nodeId)));
    }
}

/** Tries the login that came with a device: one that it refuses is not to be found out later. */
Outcome checkLogin(Invocation& call, const NodeHintIPDevice& hint, const QString& id)
{
    if (hint.user().isEmpty() || call.options().isSet(k_unchecked))
        return Outcome::done();
    const Outcome outcome = tryLogin(call, id);
    return outcome.isDone()
        ? outcome
        : Outcome::refused(QStringLiteral("%1 was not added: %2; --%3 stores a "
                                          "login without trying it")
                               .arg(quoted(hint.hostAddress()), outcome.sentence, k_unchecked));
}

Outcome add(Invocation& call)
{
    NodeHintIPDevice hint;
    Outcome outcome = readHint(call, hint);
    if (outcome.isDone())
        outcome = call.open(OpenMode::Create);
    if (!outcome.isDone())
        return outcome;
    NodeDB& database = call.database();
    if (database.readableNodeTypeNames().isEmpty())
        return Outcome::refused(QStringLiteral("there is no driver for any type of node"));
    // The refusal says it in its own words.
    call.output().log().leaveOut(QStringLiteral("No node driver available for nodehint: "));
    DiscoveryWatch watch(database);
    std::optional<DeviceEvent> fate;
    QObject::connect(&watch, &DiscoveryWatch::happened, &watch, [&](const DeviceEvent& event) {
        if (!fate)
            fate = event;
    });
    // That of a known device shows nowhere else when it was only confirmed to be here.
    QString metAgain;
    QObject::connect(
        &database, &NodeDB::nodeUpdated, &watch, [&](const NodeID& id) { metAgain = id; });
    database.newNodeHint(hint);
    waitForFate(watch, fate);
    if (!fate && !metAgain.isEmpty())
        fate = DeviceEvent{ DeviceEvent::eChanged, metAgain, {}, {} };
    outcome = judge(fate, hint);
    if (outcome.isDone())
        outcome = checkLogin(call, hint, fate->nodeId);
    if (outcome.isDone())
        outcome = call.save();
    if (const auto node = outcome.isDone() ? database.node(fate->nodeId) : nullptr)
        call.output().addItems({ nodeSummary(database, *node) }, nodeColumns());
    return outcome;
}

} // namespace

QList<Command> addCommands()
{
    return { { QStringLiteral("add"), QStringLiteral("ADDRESS"),
        QStringLiteral("Add a device by its host name or address."), 1, 1, addOptions, add } };
}

} // namespace tq::cli
