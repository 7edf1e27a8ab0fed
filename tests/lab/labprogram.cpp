// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "lab/labprogram.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QLocalSocket>
#include <QRegularExpression>

namespace tst {

QStringList tellLab(const QString& line)
{
    QLocalSocket socket;
    socket.connectToServer(qEnvironmentVariable("LAB_CONTROL"));
    socket.write(line.toUtf8() + '\n');
    QByteArray answer;
    while (!answer.endsWith("ok\n") && !answer.contains("error ") && socket.waitForReadyRead())
        answer += socket.readAll();
    return QString::fromUtf8(answer.trimmed()).split(QLatin1Char('\n'));
}

QStringList LabProgram::arguments(const QStringList& command) const
{
    const QString store = m_folder.filePath(QStringLiteral("devices.db"));
    return QStringList{ QStringLiteral("--store"), QStringLiteral("sqlite:") + store } + command;
}

void LabProgram::start(QProcess& process, const QStringList& command) const
{
    const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/nodedb");
    process.start(program, arguments(command));
}

QJsonObject LabProgram::document(const QStringList& command, const QByteArray& input)
{
    QProcess program;
    start(program, QStringList(QStringLiteral("--json")) + command);
    program.write(input);
    program.closeWriteChannel();
    program.waitForFinished(k_labPatience);
    m_exitCode = program.exitCode();
    m_said = QString::fromUtf8(program.readAllStandardError());
    return QJsonDocument::fromJson(program.readAllStandardOutput()).object();
}

QJsonArray LabProgram::items(const QStringList& command, const QByteArray& input)
{
    return document(command, input)[QStringLiteral("items")].toArray();
}

bool waitForRows(QProcess& process, QString& output, const QString& pattern, int count)
{
    const QRegularExpression row(pattern, QRegularExpression::MultilineOption);
    while (output.count(row) < count && process.waitForReadyRead(k_labPatience))
        output += QString::fromUtf8(process.readAllStandardOutput());
    return output.count(row) >= count;
}

QJsonArray rowsWith(const QJsonArray& rows, const char* key, const QString& value)
{
    QJsonArray result;
    for (const QJsonValue& row : rows) {
        if (row[QLatin1String(key)].toVariant().toString() == value)
            result.append(row);
    }
    return result;
}

} // namespace tst
