// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

namespace tq {

/** Returns the clean title of an HTML page, at most 80 characters; empty when it has none. */
QString pageTitle(const QByteArray& page);

/** Returns whether as much of a page as is there holds its title whole. */
bool hasWholeTitle(const QByteArray& page);

/** Returns whether a device that calls itself so is likely to be a camera. */
bool isCameraLike(const QString& said);

} // namespace tq
