// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/valuetext.h"

#include "cli/output.h"

#include "platform/properties/propertysetproperty.h"

#include <QJsonArray>
#include <QRect>

#include <cmath>
#include <optional>

namespace tq::cli {

namespace {

const QString k_mask = QStringLiteral("********");

/** A login is stored as a list: user, flag, encoded password. */
QJsonValue shownList(const QVariantList& list)
{
    QJsonArray result;
    for (qsizetype i = 0; i < list.size(); ++i)
        result.append(i < 2 ? QJsonValue::fromVariant(list[i]) : QJsonValue(k_mask));
    return result;
}

QJsonValue shownFloat(float value)
{
    // In the digits that a float has, not those of the double next to it.
    return QString::number(double(value), 'g', 7).toDouble();
}

std::optional<bool> boolFromText(const QString& text)
{
    static const QStringList yes{ QStringLiteral("true"), QStringLiteral("1"), QStringLiteral("on"),
        QStringLiteral("yes") };
    static const QStringList no{ QStringLiteral("false"), QStringLiteral("0"),
        QStringLiteral("off"), QStringLiteral("no") };
    if (yes.contains(text, Qt::CaseInsensitive))
        return true;
    if (no.contains(text, Qt::CaseInsensitive))
        return false;
    return std::nullopt;
}

std::optional<QRect> rectFromText(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char(','));
    QList<int> numbers;
    for (const QString& part : parts) {
        bool isNumber = false;
        numbers.append(part.trimmed().toInt(&isNumber));
        if (!isNumber)
            return std::nullopt;
    }
    if (numbers.size() != 4)
        return std::nullopt;
    return QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

template <class T>
QVariant checked(T value, bool isOk)
{
    return isOk ? QVariant::fromValue(value) : QVariant();
}

template <class T>
QVariant checked(const std::optional<T>& value)
{
    return value ? QVariant::fromValue(*value) : QVariant();
}

/** Returns the value of that type; an invalid one when the text is none. */
QVariant converted(const QString& text, QMetaType type)
{
    bool isOk = false;
    switch (type.id()) {
    case QMetaType::Bool:
        return checked(boolFromText(text));
    case QMetaType::Int: {
        const int value = text.toInt(&isOk);
        return checked(value, isOk);
    }
    case QMetaType::UInt: {
        const uint value = text.toUInt(&isOk);
        return checked(value, isOk);
    }
    case QMetaType::ULongLong: {
        const quint64 value = text.toULongLong(&isOk);
        return checked(value, isOk);
    }
    case QMetaType::Float: {
        const float value = text.toFloat(&isOk);
        return checked(value, isOk && std::isfinite(value));
    }
    case QMetaType::Double: {
        const double value = text.toDouble(&isOk);
        return checked(value, isOk && std::isfinite(value));
    }
    case QMetaType::QString:
        return text;
    case QMetaType::QRect:
        return checked(rectFromText(text));
    default:
        return QVariant();
    }
}

QString wantedText(QMetaType type)
{
    switch (type.id()) {
    case QMetaType::Bool:
        return QStringLiteral("yes or no");
    case QMetaType::Float:
    case QMetaType::Double:
        return QStringLiteral("a number");
    case QMetaType::QRect:
        return QStringLiteral("four numbers: left,top,width,height");
    case QMetaType::Int:
        return QStringLiteral("a whole number");
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return QStringLiteral("a whole number from 0");
    default:
        return QStringLiteral("what cannot be written as a text");
    }
}

} // namespace

bool isSecret(const QString& name, QMetaType type)
{
    // The flags that say whether a password is kept are none.
    return name.contains(QLatin1String("Password"), Qt::CaseInsensitive)
        && type.id() != QMetaType::Bool;
}

QJsonValue shownValue(const QString& name, const QVariant& value)
{
    if (isSecret(name, value.metaType())) {
        const bool isEmpty = value.typeId() == QMetaType::QString && value.toString().isEmpty();
        return isEmpty ? QString() : k_mask;
    }
    if (value.metaType() == QMetaType::fromType<tqgen::PropertySet>())
        return shownProperties(value.value<tqgen::PropertySet>());
    switch (value.typeId()) {
    case QMetaType::Float:
        return shownFloat(value.toFloat());
    case QMetaType::QRect: {
        const QRect rect = value.toRect();
        return QStringLiteral("%1,%2,%3,%4")
            .arg(rect.left())
            .arg(rect.top())
            .arg(rect.width())
            .arg(rect.height());
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return shownList(value.toList());
    case QMetaType::QByteArray:
        return k_mask;
    default:
        return QJsonValue::fromVariant(value);
    }
}

QJsonObject shownProperties(const tqgen::PropertySet& set)
{
    QJsonObject result;
    for (const auto& property : set.properties())
        result.insert(property->name(), shownValue(property->name(), property->value()));
    return result;
}

QString valueFromText(const QString& name, const QString& text, QMetaType type, QVariant& value)
{
    value = converted(text, type);
    if (!value.isValid())
        return QStringLiteral("%1 wants %2, not %3").arg(name, wantedText(type), quoted(text));
    return QString();
}

} // namespace tq::cli
