// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

namespace tq {

/**
 * Returns what a device said as one line of at most `longest` characters: UTF-8, else Latin-1,
 * white space run together, without control, direction and other invisible characters.
 */
QString cleanText(const QByteArray& said, int longest);

} // namespace tq
