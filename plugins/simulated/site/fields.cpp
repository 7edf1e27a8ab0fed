// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/site/fields_p.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

namespace tq::site {

namespace {

const qsizetype k_longestText = 1000;
const qsizetype k_longestShown = 80;
const int k_longestTime = 3600; // s

bool isLine(const QJsonValue& value)
{
    static const QRegularExpression control(QStringLiteral("[\\x00-\\x1f\\x7f]"));
    return value.isString() && value.toString().size() <= k_longestText
        && !value.toString().contains(control);
}

QString shown(const QJsonValue& value)
{
    // A large value is not worth printing just to be cut.
    if (value.isArray() && value.toArray().size() > k_longestShown)
        return QStringLiteral("[…]");
    if (value.isObject())
        return QStringLiteral("{…}");
    const QJsonArray wrapped{ value };
    const QByteArray json = QJsonDocument(wrapped).toJson(QJsonDocument::Compact);
    return printable(QString::fromUtf8(json.mid(1, json.size() - 2)));
}

} // namespace

QString printable(const QString& text)
{
    QString line = text.left(k_longestShown);
    for (QChar& character : line) {
        if (!character.isPrint() && !character.isSurrogate())
            character = QLatin1Char('?');
    }
    return line.size() < text.size() ? line + QStringLiteral("…") : line;
}

Fields::Fields(const QJsonObject& json, QString* error, const QString& where)
    : m_json(json), m_error(error), m_where(where)
{
}

void Fields::refuse(const QString& key, const QString& why)
{
    if (!m_error->isEmpty())
        return;
    const QJsonValue value = m_json.value(key);
    *m_error = value.isUndefined()
        ? QStringLiteral("\"%1\" is missing").arg(pathOf(key))
        : QStringLiteral("\"%1\" %2 %3").arg(pathOf(key), shown(value), why);
}

void Fields::require(const QString& key)
{
    if (!has(key))
        refuse(key, QString());
}

void Fields::allow(const QStringList& keys)
{
    const QStringList found = m_json.keys();
    for (const QString& key : found) {
        if (keys.contains(key))
            continue;
        refuse(key,
            QStringLiteral("stands under a key that is none of %1")
                .arg(keys.join(QStringLiteral(", "))));
        return;
    }
}

std::optional<QString> Fields::text(const QString& key)
{
    if (!has(key))
        return std::nullopt;
    const QJsonValue value = m_json.value(key);
    if (!isLine(value))
        refuse(key, QStringLiteral("is not one line of text"));
    return value.toString();
}

QString Fields::text(const QString& key, const QRegularExpression& form, const QString& why)
{
    const QString found = text(key).value_or(QString());
    if (!form.match(found).hasMatch())
        refuse(key, why);
    return found;
}

std::optional<int> Fields::number(const QString& key, int least, int most)
{
    if (!has(key))
        return std::nullopt;
    const int found = m_json.value(key).toInt(least - 1);
    if (found < least || found > most)
        refuse(key, QStringLiteral("is no number from %1 to %2").arg(least).arg(most));
    return found;
}

std::optional<int> Fields::seconds(const QString& key)
{
    if (!has(key))
        return std::nullopt;
    const double found = m_json.value(key).toDouble(-1);
    if (found >= 0 && found <= k_longestTime)
        return static_cast<int>(std::lround(found * 1000));
    refuse(key, QStringLiteral("is no number of seconds from 0 to %1").arg(k_longestTime));
    return std::nullopt;
}

bool Fields::flag(const QString& key)
{
    const QJsonValue value = m_json.value(key);
    if (has(key) && !value.isBool())
        refuse(key, QStringLiteral("is neither true nor false"));
    return value.toBool();
}

int Fields::choice(const QString& key, const QStringList& words)
{
    const qsizetype place = words.indexOf(m_json.value(key).toString());
    if (has(key) && place < 0)
        refuse(key, QStringLiteral("is none of %1").arg(words.join(QStringLiteral(", "))));
    return static_cast<int>(qMax<qsizetype>(place, 0));
}

QJsonArray Fields::list(const QString& key, int most)
{
    const QJsonValue value = m_json.value(key);
    if (has(key) && (!value.isArray() || value.toArray().size() > most)) {
        refuse(key, QStringLiteral("is no list of at most %1").arg(most));
        return {};
    }
    return value.toArray();
}

QStringList Fields::texts(const QString& key, int most)
{
    QStringList result;
    const QJsonArray values = list(key, most);
    for (const QJsonValue& value : values) {
        if (!isLine(value))
            refuse(key, QStringLiteral("holds something that is not one line of text"));
        result.append(value.toString());
    }
    return result;
}

std::optional<Fields> Fields::object(const QString& key)
{
    if (!has(key))
        return std::nullopt;
    const QJsonValue value = m_json.value(key);
    if (!value.isObject())
        refuse(key, QStringLiteral("is no object"));
    return Fields(value.toObject(), m_error, pathOf(key));
}

QList<Fields> Fields::objects(const QString& key, int most)
{
    QList<Fields> result;
    const QJsonArray values = list(key, most);
    for (const QJsonValue& value : values) {
        if (!value.isObject())
            refuse(key, QStringLiteral("holds something that is no object"));
        const QString where = QStringLiteral("%1[%2]").arg(pathOf(key)).arg(result.size());
        result.append(Fields(value.toObject(), m_error, where));
    }
    return result;
}

QString Fields::pathOf(const QString& key) const
{
    const QString own = printable(key);
    return m_where.isEmpty() ? own : m_where + QLatin1Char('.') + own;
}

} // namespace tq::site
