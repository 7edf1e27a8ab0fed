// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

namespace tq {

/** Returns the name behind a part of a key or a section: %41 and %U0041 stand for characters. */
QString iniName(const QByteArray& raw);

/** Returns a name as a part of a key. Names that would read as an array's size or number are
 * escaped. */
QByteArray iniEscapedName(const QString& name);

/**
 * Returns the value behind a line's text. `isOurs`: it was written by iniText(), so bare numbers
 * and truth values are what they look like; else they are texts. `isOk` is cleared when it is
 * damaged.
 */
QVariant iniValue(const QByteArray& raw, bool isOurs, bool& isOk);

/**
 * Returns a value as the text of a line. Texts, whole numbers, truth values, bytes, rectangles and
 * lists of these read as QSettings writes them; other types begin with their name: "@double(0.5)",
 * or are packed: "@packed(BASE64)".
 */
QByteArray iniText(const QVariant& value);

} // namespace tq
