// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/numericarguments.h"

#include <QCommandLineParser>
#include <QRegularExpression>

namespace tq::cli {

bool parseWithNumbers(
    QCommandLineParser& parser, const QStringList& arguments, QStringList& positional)
{
    static const QRegularExpression number(QStringLiteral("^-\\.?\\d"));
    constexpr QChar k_mark(0xfdd0); // no character: nobody can type it
    QStringList marked = arguments;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        // The value of an option is left alone: alone that option would be an error.
        const QString& before = arguments[i - 1];
        const bool isOptionValue =
            before.startsWith(QLatin1Char('-')) && !parser.parse({ arguments.first(), before });
        if (number.match(arguments[i]).hasMatch() && !isOptionValue)
            marked[i].prepend(k_mark);
    }
    const bool isParsed = parser.parse(marked);
    positional = parser.positionalArguments();
    for (QString& argument : positional) {
        if (argument.startsWith(k_mark))
            argument.remove(0, 1);
    }
    return isParsed;
}

} // namespace tq::cli
