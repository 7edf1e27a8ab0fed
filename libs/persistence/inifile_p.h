// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istoretree.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace tq {

/** What an INI file holds. */
struct IniContent
{
    StoreNode root;
    QStringList findings; ///< what could not be read, the first ones
    QStringList remarks; ///< what is odd but costs nothing, the first ones
    QString error; ///< not empty: the file cannot be used
};

/** Reads the bytes of a file that writeIni() or QSettings wrote. Nothing is written to a disk. */
IniContent readIni(const QByteArray& bytes);

/** Writes a content into `file`, an empty file in a folder that nobody else can enter. Returns
 * whether it worked: a full disk is the likely reason when not. */
[[nodiscard]] bool writeIni(const StoreNode& root, const QString& file);

} // namespace tq
