// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/invocation.h"

#include "cli/nodesummary.h"
#include "cli/simulation.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include "platform/pluginloader.h"

#include <QCommandLineParser>

namespace tq::cli {

Invocation::Invocation(const GlobalOptions& globals, const QCommandLineParser& options,
    const QStringList& arguments, Output& output)
    : m_globals(globals), m_options(options), m_arguments(arguments), m_output(output)
{
}

Invocation::~Invocation() = default;

DatabaseSession& Invocation::session()
{
    if (!m_session) {
        QStringList folders{ DatabaseSession::pluginFolder() };
        if (m_globals.isSimulation())
            folders = QStringList(simulationFolder());
        else if (!m_globals.pluginFolders.isEmpty())
            folders = m_globals.pluginFolders;
        setComponentOptions();
        m_session = std::make_unique<DatabaseSession>(folders);
        m_session->database().setActiveUser(m_globals.activeUser);
    }
    return *m_session;
}

void Invocation::setComponentOptions()
{
    auto& loader = plugin::Loader::instance();
    for (const auto& [name, value] : m_globals.componentOptions)
        loader.setOption(name, value);
    if (m_globals.isSimulation())
        loader.setOption(QStringLiteral("simulated/site"), m_globals.site);
}

Outcome Invocation::checkComponentOptions()
{
    if (m_globals.componentOptions.isEmpty())
        return Outcome::done();
    session(); // finds the plug-ins
    QStringList known;
    for (const plugin::ComponentInfo& info : plugin::Loader::instance().components()) {
        for (const QString& key : info.options)
            known.append(info.name + QLatin1Char('/') + key);
    }
    known.sort();
    for (const auto& [name, value] : m_globals.componentOptions) {
        if (!known.contains(name))
            return Outcome::refused(
                QStringLiteral("no component has the option %1; known are: %2")
                    .arg(quoted(name), known.isEmpty() ? text("none") : known.join(text(", "))));
    }
    return Outcome::done();
}

Outcome Invocation::runAction(const QList<Command>& actions)
{
    const QString name = m_arguments.takeFirst();
    QStringList names;
    for (const Command& action : actions) {
        names.append(action.name);
        if (action.name == name)
            return action.takes(m_arguments.size())
                ? action.run(*this)
                : Outcome::usage(QStringLiteral("%1 wants %2").arg(name, action.arguments));
    }
    return Outcome::usage(
        QStringLiteral("%1 is none of: %2").arg(quoted(name), names.join(QStringLiteral(", "))));
}

Outcome Invocation::open(OpenMode mode)
{
    QString store = m_globals.store ? *m_globals.store : qEnvironmentVariable("NODEDB_STORE");
    if (store.isEmpty() && !m_globals.store)
        store = DatabaseSession::defaultStore();
    if (m_globals.keepsNothing())
        store = QStringLiteral("memory:");
    const QString error = session().open(store, mode);
    return error.isEmpty() ? Outcome::done() : Outcome::refused(error);
}

Outcome Invocation::save()
{
    const QString error = session().save();
    return error.isEmpty() ? Outcome::done() : Outcome::refused(error);
}

Outcome Invocation::requireNode(const QString& id)
{
    if (!database().node(id).null())
        return Outcome::done();
    return Outcome::refused(QStringLiteral("there is no node with the id %1").arg(quoted(id)));
}

Outcome Invocation::edit(const QString& id, const std::function<Outcome(Node&)>& change)
{
    constexpr int k_timeout = 5000; // ms
    Node* const copy = database().beginUpdateNode(id, k_timeout);
    if (!copy)
        return Outcome::refused(
            QStringLiteral("the node %1 is in use or cannot be copied").arg(quoted(id)));
    const bool isUndecided = session().isUndecided(id);
    const Outcome outcome = callNode(database(), *copy, [&] {
        const Outcome changed = change(*copy);
        return changed.isDone() && isUndecided && !copy->shouldPersist() ? undecided(id) : changed;
    });
    database().endUpdateNode(copy);
    return outcome;
}

Outcome Invocation::undecided(const QString& id)
{
    return Outcome::refused(
        QStringLiteral("the node %1 does not say whether it should be stored, so "
                       "no change of it is: set ShouldPersist=yes as well")
            .arg(quoted(id)));
}

std::optional<int> Invocation::number(
    const QString& option, int least, int most, Outcome& outcome) const
{
    const QString text = m_options.value(option);
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    if (isNumber && value >= least && value <= most)
        return value;
    outcome = Outcome::usage(QStringLiteral("--%1 wants a number from %2 to %3, not %4")
                                 .arg(option)
                                 .arg(least)
                                 .arg(most)
                                 .arg(quoted(text)));
    return std::nullopt;
}

} // namespace tq::cli
