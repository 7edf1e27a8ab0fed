// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>

namespace tq {

/**
 * Returns the text of an INI file so that QSettings can read it without harm: left to itself it
 * decodes data streams of any depth, and a nested one overflows the stack. What might start a
 * stream gets a mark, which loadedValue() and unmarkedName() take away.
 */
QByteArray markedStreams(const QByteArray& text);

/** Returns a name that QSettings read from a marked text. */
QString unmarkedName(QString name);

/** Returns what to hand to QSettings for a value. Truth values, numbers that are int, texts, bytes,
 * rectangles and lists of them stay readable for all its clients; other values are packed. */
QVariant storedValue(const QVariant& value);

/**
 * Returns the value that QSettings read from a marked text: from a file of ours with the type it
 * had, from others as QSettings gives it. Nothing when it is damaged.
 */
std::optional<QVariant> loadedValue(const QVariant& read, bool isOurs);

/** Returns a name that is not empty, a number, "size" or "general" and has no slash. */
QString storedName(const QString& name);

/** Returns the name from which storedName() made that one. */
QString loadedName(const QString& stored);

} // namespace tq
