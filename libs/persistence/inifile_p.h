// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istoretree.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace tq {

/** What was read from an INI file. */
struct IniContent
{
    StoreNode root;
    QString error; ///< why it cannot be used at all; empty when it can
    QStringList badLines; ///< what was passed over, as "NUMBER: reason"; at most twenty
};

/**
 * Reads an INI file as QSettings writes it. A group that has a value "size" and numbered groups is
 * an array; its numbers count from 1.
 *
 * A file of ours begins and ends with a line that says so. With the first and without the last it
 * was cut off, which is an error, as is a file that holds bytes 0 or nothing that could be read.
 */
IniContent readIni(const QByteArray& bytes);

/** Returns the text of the whole file. */
QByteArray writeIni(const StoreNode& root);

} // namespace tq
