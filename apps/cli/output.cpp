// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/output.h"

#include "cli/jsontext.h"

#include "platform/logline.h"

#include <QTextStream>

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace tq::cli {

QString quoted(const QString& text)
{
    return QLatin1Char('"') + escapedForLog(text) + QLatin1Char('"');
}

QString cellText(const QJsonValue& value)
{
    if (value.isBool())
        return value.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    if (!value.isArray())
        return value.toVariant().toString();
    QStringList parts;
    for (const QJsonValue& element : value.toArray())
        parts.append(cellText(element));
    return parts.join(QStringLiteral(", "));
}

void Output::print(const Table& table)
{
    if (m_isJson)
        return;
    QString rows;
    QTextStream stream(&rows);
    table.print(stream);
    write(rows);
}

void Output::print(const QString& line)
{
    if (!m_isJson)
        write(escapedForLog(line) + QLatin1Char('\n'));
}

void Output::addItems(const QList<QJsonObject>& items, const QList<Column>& columns)
{
    QStringList heading;
    for (const Column& column : columns)
        heading.append(column.title);
    Table table(heading);
    for (const QJsonObject& item : items) {
        addItem(item);
        QStringList row;
        for (const Column& column : columns)
            row.append(cellText(item[column.key]));
        table.addRow(row);
    }
    print(table);
}

void Output::notice(const QString& line)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(escapedForLog(line)));
}

int Output::finish(const QString& command, const Outcome& outcome)
{
    if (m_isJson) {
        QJsonObject document = outcome.isDone() ? m_members : QJsonObject();
        document.insert(QStringLiteral("command"), command);
        document.insert(QStringLiteral("ok"), outcome.isDone());
        if (outcome.isDone())
            document.insert(QStringLiteral("items"), m_items);
        else
            document.insert(QStringLiteral("error"), outcome.sentence);
        write(jsonText(document));
    }
    m_log.tell(outcome.sentence);
    if (!outcome.sentence.isEmpty())
        notice(QStringLiteral("nodedb: ") + outcome.sentence);
    const QString reason = whyNotWritten();
    if (reason.isEmpty())
        return outcome.exitCode;
    notice(QStringLiteral("nodedb: the output could not be written: ") + reason);
    return outcome.isDone() ? Outcome::eRefused : outcome.exitCode;
}

void Output::write(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    const auto size = std::size_t(utf8.size());
    errno = 0;
    if (m_writeError == 0
        && (std::fwrite(utf8.constData(), 1, size, stdout) != size || std::fflush(stdout) != 0))
        m_writeError = errno;
}

QString Output::whyNotWritten() const
{
    int error = m_writeError;
    // Some file systems tell only when a file is closed that it is not all there.
    const int copy = ::dup(STDOUT_FILENO);
    if (copy >= 0 && ::close(copy) != 0 && error == 0)
        error = errno;
    return error == 0 || error == EPIPE ? QString() : qt_error_string(error);
}

} // namespace tq::cli
