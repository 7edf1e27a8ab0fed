// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/table.h"

#include "platform/logline.h"

#include <QTextStream>

#include <algorithm>
#include <wchar.h>

namespace tq::cli {

namespace {

/** Wider columns are not padded further: one long value does not push all others out of sight. */
constexpr int k_widestPadding = 48;
const QString k_gap = QStringLiteral("  ");

} // namespace

int displayWidth(const QString& text)
{
    int width = 0;
    for (const uint c : text.toUcs4())
        width += std::max(0, ::wcwidth(wchar_t(c)));
    return width;
}

QString padded(const QString& text, int width)
{
    const int missing = width - displayWidth(text);
    return missing > 0 ? text + QString(missing, QLatin1Char(' ')) : text;
}

Table::Table(const QStringList& heading) : m_rows{ heading } { }

void Table::addRow(const QStringList& cells)
{
    QStringList row;
    for (const QString& cell : cells)
        row.append(escapedForLog(cell));
    m_rows.push_back(row);
}

void Table::print(QTextStream& stream) const
{
    std::vector<int> widths(std::size_t(m_rows.front().size()), 0);
    for (const QStringList& row : m_rows) {
        for (std::size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(row.value(qsizetype(i))));
    }
    for (const QStringList& row : m_rows) {
        QString line;
        for (std::size_t i = 0; i < widths.size(); ++i)
            line += padded(row.value(qsizetype(i)), std::min(widths[i], k_widestPadding)) + k_gap;
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        stream << line << Qt::endl;
    }
}

} // namespace tq::cli
