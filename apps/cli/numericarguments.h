// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

class QCommandLineParser;

namespace tq::cli {

/**
 * Parses the arguments of a command, the first of which is the program's name, where a negative
 * number is a value and no option. Sets `positional` and returns whether all options are known, as
 * the parser's errorText() says.
 */
bool parseWithNumbers(
    QCommandLineParser& parser, const QStringList& arguments, QStringList& positional);

} // namespace tq::cli
