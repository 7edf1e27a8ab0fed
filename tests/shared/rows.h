// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTest>

#include <type_traits>

namespace tst {

/** A text in a row, written as a UTF-8 literal or as a string. */
struct TextCell
{
    TextCell() = default;
    TextCell(const char* utf8) : value(QString::fromUtf8(utf8)) { }
    TextCell(const QString& text) : value(text) { }
    operator QString() const { return value; }

    QString value;
};

/** The table of a data-driven test: names its columns, and adds a row with each call. */
template <class... Types>
class Rows
{
public:
    template <class... Names>
    explicit Rows(Names... names)
    {
        (QTest::addColumn<Types>(names), ...);
    }

    template <class T>
    using Cell = std::conditional_t<std::is_same_v<T, QString>, TextCell, T>;

    void operator()(const char* name, const Cell<Types>&... cells) const
    {
        (QTest::newRow(name) << ... << static_cast<const Types&>(cells));
    }
};

} // namespace tst
