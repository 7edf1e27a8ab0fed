// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QTextStream>

#include <memory>

namespace tq::cli {

/**
 * Makes warnings for people of log lines: without time and level, each once, the first ten of a
 * kind, and not while a command prints. They wait for tell() or the end; the end of the whole
 * process by force loses them. While it lives, the logger writes here.
 */
class LogHold
{
public:
    LogHold();
    ~LogHold();
    LogHold(const LogHold&) = delete;
    LogHold& operator=(const LogHold&) = delete;

    /** From now on lines are written at once and as they are. */
    void showRaw();

    /** From now on lines that begin with `start` make no warnings: the command tells it in its own
     * way. */
    void leaveOut(const QString& start);

    /** Returns how many warnings wait. */
    int count() const;

    /**
     * Drops the warnings that begin with `start`, for a command that says so itself. Returns what
     * follows `start` in the last one; null when there was none.
     */
    QString take(const QString& start);

    /** Writes the warnings to standard error, but those whose reason `sentence` gives already. */
    void tell(const QString& sentence = QString());

private:
    class Device;
    std::unique_ptr<Device> m_device;
    QTextStream m_stream;
};

} // namespace tq::cli
