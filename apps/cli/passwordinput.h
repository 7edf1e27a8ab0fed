// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command.h"

#include <QString>

class QCommandLineParser;

namespace tq::cli {

/** Adds --password-file and --password-stdin. */
void addPasswordOptions(QCommandLineParser& parser);

/** Returns whether the call says where a password comes from. */
bool isPasswordGiven(const QCommandLineParser& parser);

/** Returns whether a person can be asked: standard input is a terminal. */
bool canAsk();

/** Reads a password from where the call says, else asks for `what` on the terminal, without echo.
 */
Outcome readPassword(const QCommandLineParser& parser, const QString& what, QString& password);

} // namespace tq::cli
