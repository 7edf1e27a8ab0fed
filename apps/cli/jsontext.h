// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QJsonObject;

namespace tq::cli {

/**
 * Returns the document as indented JSON. Characters that act on a terminal instead of being seen
 * there (controls, format and direction marks, line separators) are written as \uXXXX: a reader
 * gets the same values, and a screen no orders.
 */
QString jsonText(const QJsonObject& document);

} // namespace tq::cli
