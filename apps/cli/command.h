// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <functional>

class QCommandLineParser;

namespace tq::cli {

class Invocation;

/** How a command ended: well, refused, or wrongly called. */
struct Outcome
{
    enum EExitCode : int { eDone = 0, eRefused = 1, eUsage = 2 };

    EExitCode exitCode = eDone;
    QString sentence; ///< why not; empty when all is well

    static Outcome done() { return {}; }
    static Outcome refused(const QString& sentence) { return { eRefused, sentence }; }
    static Outcome usage(const QString& sentence) { return { eUsage, sentence }; }
    bool isDone() const { return exitCode == eDone; }
};

/** One command of the program. */
struct Command
{
    static constexpr int k_anyNumber = -1;

    QString name;
    QString arguments; ///< as the help shows them, such as "ID NAME=VALUE…"
    QString summary;
    int fewestArguments = 0;
    int mostArguments = 0; ///< or k_anyNumber
    std::function<void(QCommandLineParser&)> addOptions = {}; ///< may be empty
    std::function<Outcome(Invocation&)> run = {};

    /** Returns whether the command can be called with so many arguments. */
    bool takes(qsizetype count) const
    {
        return count >= fewestArguments && (mostArguments == k_anyNumber || count <= mostArguments);
    }
};

} // namespace tq::cli
