// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command.h"
#include "cli/table.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QTextStream>

namespace tq::cli {

/** A column of a table that shows one member of each item. */
struct Column
{
    QString title;
    QString key;
};

/** Returns a text of the program's own. */
inline QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/** Returns `text` in quotes, with control characters escaped: how sentences name a value. */
QString quoted(const QString& text);

/** Returns a value for people: yes and no, lists with commas. */
QString cellText(const QJsonValue& value);

/** What a command says: one JSON document at its end, or tables and lines for people at once. */
class Output
{
public:
    Output();

    void setJson(bool json) { m_isJson = json; }
    bool isJson() const { return m_isJson; }

    /** Adds an item to the JSON document. */
    void addItem(const QJsonObject& item) { m_items.append(item); }

    /** Sets a member of the JSON document beside the items. */
    void setMember(const QString& name, const QJsonValue& value) { m_members[name] = value; }

    /** Writes a table or a line for people; JSON output leaves it out. */
    void print(const Table& table);
    void print(const QString& line);

    /** Adds the items, and prints them as a table of these columns. */
    void addItems(const QList<QJsonObject>& items, const QList<Column>& columns);

    /** Writes a notice to standard error. */
    void notice(const QString& line);

    /** Ends the output: the JSON document, and the sentence of a refusal on standard error. */
    void finish(const QString& command, const Outcome& outcome);

private:
    QTextStream m_out;
    QTextStream m_error;
    QJsonArray m_items;
    QJsonObject m_members;
    bool m_isJson = false;
};

} // namespace tq::cli
