// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command.h"
#include "cli/output.h"

#include "persistence/istore.h"
#include "session/databasesession.h"

#include <QList>
#include <QPair>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

class QCommandLineParser;

namespace tq {
class Node;
class NodeDB;
} // namespace tq

namespace tq::cli {

/** What the program was called with, whatever the command. */
struct GlobalOptions
{
    std::optional<QString> store; ///< nothing: the default store
    QStringList pluginFolders; ///< empty: the program's own folder
    QString activeUser;
    QList<QPair<QString, QString>>
        componentOptions; ///< for the loader, the last one of a name counts
    QString site; ///< of a simulation; empty for the real network

    bool isSimulation() const { return !site.isEmpty(); }

    /** Returns whether nothing outlives the call: a simulation that no store was named for. */
    bool keepsNothing() const { return isSimulation() && !store; }
};

/** One call of a command: its arguments, its output and the session it works in. */
class Invocation
{
public:
    Invocation(const GlobalOptions& globals, const QCommandLineParser& options,
        const QStringList& arguments, Output& output);
    ~Invocation();
    Q_DISABLE_COPY_MOVE(Invocation)

    const QCommandLineParser& options() const { return m_options; }
    const QStringList& arguments() const { return m_arguments; }
    Output& output() { return m_output; }

    /** Returns the session, in which no store is open yet. Made at the first call. */
    DatabaseSession& session();
    NodeDB& database() { return session().database(); }

    const GlobalOptions& globals() const { return m_globals; }

    /** Refuses --option for what no component declares. */
    Outcome checkComponentOptions();

    /** Runs that of \p actions which the first argument names, with the arguments after it. */
    Outcome runAction(const QList<Command>& actions);

    /** Opens the store that the call is about. */
    Outcome open(OpenMode mode);

    /** Saves the session; refused when that fails. */
    Outcome save();

    /** Refuses an id that no node has. */
    Outcome requireNode(const QString& id);

    /**
     * Lets `change` edit the node inside of one bracket, which closes whatever it returns: what it
     * did up to a refusal stays. Refused when the node is in use or not there, and when no save
     * would store the change.
     */
    Outcome edit(const QString& id, const std::function<Outcome(Node&)>& change);

    /** Refuses to change a node for which DatabaseSession::isUndecided() is true. */
    static Outcome undecided(const QString& id);

    /** Returns the value of an option as a number; nothing, and a usage error, when it is none
     * within the bounds. */
    std::optional<int> number(const QString& option, int least, int most, Outcome& outcome) const;

private:
    void setComponentOptions();

    const GlobalOptions& m_globals;
    const QCommandLineParser& m_options;
    QStringList m_arguments;
    Output& m_output;
    std::unique_ptr<DatabaseSession> m_session;
};

} // namespace tq::cli
