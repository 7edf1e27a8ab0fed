// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command.h"
#include "cli/loghold.h"
#include "cli/table.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

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

/** What a command says: one JSON document at its end, or tables and lines for people at once. What
 * the logger says meanwhile is told after it. One at a time. */
class Output
{
public:
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

    /** Returns the warnings that wait for the end. */
    LogHold& log() { return m_log; }

    /**
     * Ends the output: the JSON document, then warnings and the sentence of a refusal on standard
     * error. Returns the program's exit code: the outcome's own, or that of a refusal when what was
     * to be said could not be written. A reader who has gone (a closed pipe) wanted no more of it:
     * that is no failure.
     */
    int finish(const QString& command, const Outcome& outcome);

private:
    void write(const QString& text);
    QString whyNotWritten() const;

    LogHold m_log;
    int m_writeError = 0; ///< errno of the first failure
    QJsonArray m_items;
    QJsonObject m_members;
    bool m_isJson = false;
};

} // namespace tq::cli
