// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/output.h"

#include "platform/logline.h"

#include <QIODevice>
#include <QJsonDocument>

#include <cstdio>

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

Output::Output() : m_out(stdout, QIODevice::WriteOnly), m_error(stderr, QIODevice::WriteOnly) { }

void Output::print(const Table& table)
{
    if (!m_isJson)
        table.print(m_out);
}

void Output::print(const QString& line)
{
    if (!m_isJson)
        m_out << escapedForLog(line) << Qt::endl;
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
    m_error << escapedForLog(line) << Qt::endl;
}

void Output::finish(const QString& command, const Outcome& outcome)
{
    if (m_isJson) {
        QJsonObject document = outcome.isDone() ? m_members : QJsonObject();
        document.insert(QStringLiteral("command"), command);
        document.insert(QStringLiteral("ok"), outcome.isDone());
        if (outcome.isDone())
            document.insert(QStringLiteral("items"), m_items);
        else
            document.insert(QStringLiteral("error"), outcome.sentence);
        m_out << QString::fromUtf8(QJsonDocument(document).toJson(QJsonDocument::Indented))
              << Qt::flush;
    }
    if (!outcome.sentence.isEmpty())
        notice(QStringLiteral("nodedb: ") + outcome.sentence);
}

} // namespace tq::cli
