// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command.h"

#include <QString>

class QCommandLineParser;

namespace tq::cli {

/** Adds --password-file, --password-stdin and --no-password. */
void addPasswordOptions(QCommandLineParser& parser);

/** Returns whether the call says where a password comes from. */
bool isPasswordGiven(const QCommandLineParser& parser);

/**
 * Reads a password from where the call says, else asks for `what` on the terminal, without echo.
 * Refused without a terminal. A file, or standard input, that holds none is refused as well: an
 * empty password has to be said, by --no-password or at the terminal.
 */
Outcome readPassword(const QCommandLineParser& parser, const QString& what, QString& password);

} // namespace tq::cli
