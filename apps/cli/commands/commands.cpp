// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"

#include <algorithm>

namespace tq::cli {

const QList<Command>& allCommands()
{
    // The one place that knows every group of commands, one line for each.
    static const QList<Command> commands = scanCommands() //
        + listCommands() //
        + addCommands() //
        + setCommands() //
        + readCommands() //
        + removeCommands() //
        + relationCommands() //
        + viewCommands() //
        + recordCommands() //
        + nasCommands() //
        + environmentCommands() //
        + settingsCommands() //
        + convertCommands() //
        + componentCommands();
    return commands;
}

const Command* findCommand(const QString& name)
{
    const auto& commands = allCommands();
    const auto found = std::find_if(commands.begin(), commands.end(),
        [&](const Command& command) { return command.name == name; });
    return found == commands.end() ? nullptr : &*found;
}

} // namespace tq::cli
