// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <optional>

namespace tq::site {

/**
 * Takes the values out of one JSON object and checks them. What is wrong first, in this object or
 * in one inside it, is kept as a sentence that names key and value; nothing is thrown.
 */
class Fields
{
public:
    /** Errors go to @p error, which must outlive the object; @p where is the path to @p json. */
    Fields(const QJsonObject& json, QString* error, const QString& where = QString());

    /** From here on errors name keys without the path to this object. */
    void forgetPath() { m_where.clear(); }

    bool has(const QString& key) const { return m_json.contains(key); }

    /** Says that the value of @p key is wrong: "key" value @p why; or that it is missing. */
    void refuse(const QString& key, const QString& why);

    /** Refuses the object when it has no @p key. */
    void require(const QString& key);

    /** Refuses every key that is none of @p keys. */
    void allow(const QStringList& keys);

    /** One line of at most 1,000 characters. */
    std::optional<QString> text(const QString& key);

    /** A line that all of @p form must match, described by @p why; a missing one does not. */
    QString text(const QString& key, const QRegularExpression& form, const QString& why);

    /** A whole number. */
    std::optional<int> number(const QString& key, int least, int most);

    /** Seconds, to the millisecond, up to an hour. In ms. */
    std::optional<int> seconds(const QString& key);

    bool flag(const QString& key);

    /** The place of a word in @p words; 0 when it is missing or none of them. */
    int choice(const QString& key, const QStringList& words);

    /** A list of at most @p most lines. */
    QStringList texts(const QString& key, int most);

    std::optional<Fields> object(const QString& key);

    /** A list of at most @p most objects. */
    QList<Fields> objects(const QString& key, int most);

private:
    QString pathOf(const QString& key) const;
    QJsonArray list(const QString& key, int most);

    QJsonObject m_json;
    QString* m_error;
    QString m_where;
};

/** Returns @p text in one printable line of at most some 80 characters. */
QString printable(const QString& text);

} // namespace tq::site
