// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace tst {

constexpr int k_labPatience = 60000; ///< ms

/** Sends one line to the lab around this process; returns the lines of its answer, the last one
 * "ok" or an error. */
QStringList tellLab(const QString& line);

/** The program, run inside the lab on a store of its own. */
class LabProgram
{
public:
    /** Runs a command to its end; returns what it printed. `input` is what it reads. */
    QJsonObject document(const QStringList& command, const QByteArray& input = {});

    /** Does the same and returns the items of it. */
    QJsonArray items(const QStringList& command, const QByteArray& input = {});

    /** Returns the exit code of the last such run. */
    int exitCode() const { return m_exitCode; }

    /** Returns what the last such run wrote to its standard error. */
    QString said() const { return m_said; }

    /** Starts a command that goes on beside the test. */
    void start(QProcess& process, const QStringList& command) const;

private:
    QStringList arguments(const QStringList& command) const;

    QTemporaryDir m_folder;
    int m_exitCode = 0;
    QString m_said;
};

/** Reads what a process prints until it has `count` matches of `pattern`, line by line. Appends to
 * `output`. */
bool waitForRows(QProcess& process, QString& output, const QString& pattern, int count = 1);

/** Returns the rows whose `key` is `value`. */
QJsonArray rowsWith(const QJsonArray& rows, const char* key, const QString& value);

} // namespace tst
