// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command.h"

#include <QList>

namespace tq::cli {

/** Returns all commands in the order of the help. */
const QList<Command>& allCommands();

/** Returns the command of that name; null when there is none. */
const Command* findCommand(const QString& name);

QList<Command> addCommands();
QList<Command> componentCommands();
QList<Command> convertCommands();
QList<Command> environmentCommands();
QList<Command> listCommands();
QList<Command> nasCommands();
QList<Command> readCommands();
QList<Command> recordCommands();
QList<Command> relationCommands();
QList<Command> removeCommands();
QList<Command> scanCommands();
QList<Command> setCommands();
QList<Command> settingsCommands();
QList<Command> viewCommands();

} // namespace tq::cli
