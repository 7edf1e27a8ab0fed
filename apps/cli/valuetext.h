// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/properties/propertyset.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVariant>

namespace tq::cli {

/** Returns whether a value of that name is a password: never shown, never taken from the command
 * line. */
bool isSecret(const QString& name, QMetaType type);

/** Returns the value for output; passwords, and those inside of logins, only as a mask. */
QJsonValue shownValue(const QString& name, const QVariant& value);

/** Returns all properties by name, nested sets as objects. */
QJsonObject shownProperties(const tqgen::PropertySet& set);

/**
 * Reads `text` as a value of `type` for the property `name`; rectangles are written as
 * "left,top,width,height". Returns an empty text and the value, or one sentence that says why not.
 * What the name demands of the value is valueError()'s part.
 */
QString valueFromText(const QString& name, const QString& text, QMetaType type, QVariant& value);

} // namespace tq::cli
