// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/invocation.h"
#include "cli/output.h"

#include <QStringList>

class QCommandLineParser;

namespace tq::cli {

/** The program's command line: options for all commands, then a command with its own. */
class CommandLine
{
public:
    /** Runs the program with these arguments, the first of which is its name. Returns the exit
     * code. */
    int run(const QStringList& arguments);

private:
    Outcome parse(const QStringList& arguments);
    Outcome runCommand(const Command& command, const QStringList& arguments);
    Outcome takeGlobals(const QCommandLineParser& parser);
    Outcome takeComponents(const QCommandLineParser& parser);
    Outcome help(const QStringList& names);

    Output m_output;
    GlobalOptions m_globals;
    QString m_command;
};

} // namespace tq::cli
