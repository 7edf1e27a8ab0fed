// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commandline.h"

#include "cli/commands/commands.h"
#include "cli/numericarguments.h"
#include "cli/simulation.h"

#include "platform/log.h"
#include "platform/plugincall.h"

#include <QCommandLineParser>
#include <QFileInfo>

namespace tq::cli {

namespace {

const QString k_program = QStringLiteral("nodedb");

void addGlobalOptions(QCommandLineParser& parser)
{
    parser.addOptions({
        { text("store"),
            text("Use this store: sqlite:FILE, ini:FILE or a path. Without it, that of the "
                 "variable NODEDB_STORE, or one in the folder for data."),
            text("URL") },
        { text("json"), text("Print one JSON document.") },
        { text("plugins"), text("Look for plug-ins here instead."), text("DIR") },
        { text("as"), text("Act as this person: logins are kept for each."), text("NAME") },
        { text("simulate"),
            text("Use the devices of a site file, or of a site that comes with the "
                 "program, and no network."),
            text("SITE") },
        { text("option"), text("Set an option of a component; may be repeated."),
            text("NAME=VALUE") },
        { text("verbose"), text("Show all log lines, progress as well, as they come.") },
        { { text("h"), text("help") }, text("Show this help.") },
    });
}

QString generalHelp()
{
    QCommandLineParser parser;
    addGlobalOptions(parser);
    parser.addOption({ text("version"), text("Show the version.") });
    QString result = text("Usage: nodedb [OPTION]… COMMAND [ARGUMENT]…\n\n"
                          "What is known of the devices on a network.\n\nCommands:\n");
    for (const Command& command : allCommands())
        result += text("  ") + padded(command.name, 13) + command.summary + QLatin1Char('\n');
    result += text("  ") + padded(text("help"), 13) + text("Show the help of a command.\n\n");
    const QString options = parser.helpText();
    return result + options.mid(options.indexOf(text("Options:")));
}

QString commandHelp(const Command& command)
{
    QCommandLineParser parser;
    if (command.addOptions)
        command.addOptions(parser);
    addGlobalOptions(parser);
    const QString options = parser.helpText();
    return QStringLiteral("Usage: nodedb %1 [OPTION]… %2\n\n%3\n\n")
               .arg(command.name, command.arguments, command.summary)
        + options.mid(options.indexOf(text("Options:")));
}

} // namespace

int CommandLine::run(const QStringList& arguments)
{
    // Wanted even for the report of a call that cannot be parsed.
    m_output.setJson(arguments.contains(text("--json")));
    Outcome outcome;
    // The last net for code of plug-ins: what was not saved by now is not.
    if (const auto thrown = thrownBy([&] { outcome = parse(arguments); }))
        outcome = Outcome::refused(
            QStringLiteral("the command was broken off, because something failed: ") + *thrown);
    return m_output.finish(m_command, outcome);
}

Outcome CommandLine::parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    addGlobalOptions(parser);
    parser.addOption({ text("version"), text("Show the version.") });
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    if (!parser.parse(arguments))
        return Outcome::usage(parser.errorText());
    Outcome outcome = takeGlobals(parser);
    if (!outcome.isDone())
        return outcome;
    QStringList rest = parser.positionalArguments();
    if (parser.isSet(text("version"))) {
        m_output.setJson(false);
        m_output.print(text("nodedb " NODEDB_VERSION));
        return Outcome::done();
    }
    if (parser.isSet(text("help")))
        return help(rest);
    if (rest.isEmpty())
        return Outcome::usage(text("a command is missing; nodedb --help shows them"));
    m_command = rest.takeFirst();
    if (m_command == text("help"))
        return help(rest);
    if (const Command* const command = findCommand(m_command))
        return runCommand(*command, rest);
    return Outcome::usage(
        QStringLiteral("there is no command %1; nodedb --help shows them").arg(quoted(m_command)));
}

Outcome CommandLine::runCommand(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    addGlobalOptions(parser);
    if (command.addOptions)
        command.addOptions(parser);
    QStringList positional;
    if (!parseWithNumbers(parser, QStringList(k_program) + arguments, positional))
        return Outcome::usage(parser.errorText());
    if (parser.isSet(text("help")))
        return help({ command.name });
    Outcome outcome = takeGlobals(parser);
    if (!outcome.isDone())
        return outcome;
    if (!command.takes(positional.size())) {
        const QString usage = command.name + QLatin1Char(' ') + command.arguments;
        return Outcome::usage(QStringLiteral("the call is \"nodedb %1\"").arg(usage.trimmed()));
    }
    Invocation invocation(m_globals, parser, positional, m_output);
    outcome = invocation.checkComponentOptions();
    return outcome.isDone() ? command.run(invocation) : outcome;
}

Outcome CommandLine::takeGlobals(const QCommandLineParser& parser)
{
    if (parser.isSet(text("store")))
        m_globals.store = parser.value(text("store"));
    if (parser.isSet(text("plugins")))
        m_globals.pluginFolders = parser.values(text("plugins"));
    for (const QString& folder : parser.values(text("plugins"))) {
        if (!QFileInfo(folder).isDir())
            return Outcome::refused(QStringLiteral("there is no folder %1 to look for plug-ins in")
                                        .arg(quoted(folder)));
    }
    if (parser.isSet(text("as")))
        m_globals.activeUser = parser.value(text("as"));
    if (parser.isSet(text("verbose"))) {
        LogQt::instance().setLogLevel(Log::eProgress);
        m_output.log().showRaw();
    }
    return takeComponents(parser);
}

Outcome CommandLine::takeComponents(const QCommandLineParser& parser)
{
    for (const QString& option : parser.values(text("option"))) {
        const qsizetype sign = option.indexOf(QLatin1Char('='));
        const QString name = option.left(sign);
        if (sign < 0 || !name.contains(QLatin1Char('/')))
            return Outcome::usage(
                QStringLiteral("--option wants COMPONENT/KEY=VALUE, not %1").arg(quoted(option)));
        m_globals.componentOptions.append({ name, option.mid(sign + 1) });
    }
    if (parser.isSet(text("simulate"))) {
        const Outcome outcome = findSite(parser.value(text("simulate")), m_globals.site);
        if (!outcome.isDone())
            return outcome;
    }
    if (m_globals.isSimulation() && !m_globals.pluginFolders.isEmpty())
        return Outcome::usage(text("--simulate and --plugins exclude each other"));
    return Outcome::done();
}

Outcome CommandLine::help(const QStringList& names)
{
    m_output.setJson(false);
    const Command* const command = names.isEmpty() ? nullptr : findCommand(names.first());
    if (!command && !names.isEmpty())
        return Outcome::usage(QStringLiteral("there is no command %1").arg(quoted(names.first())));
    for (const QString& line :
        (command ? commandHelp(*command) : generalHelp()).trimmed().split(QLatin1Char('\n')))
        m_output.print(line);
    return Outcome::done();
}

} // namespace tq::cli
