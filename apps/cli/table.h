// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <vector>

class QTextStream;

namespace tq::cli {

/** Returns how many columns of a terminal `text` takes. */
int displayWidth(const QString& text);

/** Returns `text` filled up with blanks to `width` columns; longer texts stay whole. */
QString padded(const QString& text, int width);

/** Rows under a heading, with aligned columns. Values are shown with control characters escaped. */
class Table
{
public:
    explicit Table(const QStringList& heading);

    void addRow(const QStringList& cells);
    void print(QTextStream& stream) const;

private:
    std::vector<QStringList> m_rows;
};

} // namespace tq::cli
