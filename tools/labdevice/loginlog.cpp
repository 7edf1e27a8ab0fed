// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/loginlog.h"

#include "labdevice/digest.h"

namespace lab {

namespace {

const qsizetype k_most = 1000;
const qsizetype k_longest = 200;

QString oneWord(const QString& text)
{
    QString word = text.left(k_longest);
    for (QChar& character : word) {
        if (!character.isPrint() || character.isSpace())
            character = QLatin1Char('_');
    }
    return word.isEmpty() ? QStringLiteral("-") : word;
}

} // namespace

void LoginLog::takeHeader(const QByteArray& value)
{
    const qsizetype blank = value.indexOf(' ');
    const QByteArray scheme = value.left(blank).toLower();
    const QByteArray rest = blank < 0 ? QByteArray() : value.mid(blank + 1);
    QByteArray user;
    if (scheme == "basic")
        user = QByteArray::fromBase64(rest).split(':').first();
    else if (scheme == "digest")
        user = digestFields(rest).value("username");
    take(QString::fromUtf8(scheme), QString::fromUtf8(user));
}

void LoginLog::take(const QString& scheme, const QString& user)
{
    m_lines.append(oneWord(scheme) + QLatin1Char(' ') + oneWord(user));
    if (m_lines.size() > k_most)
        m_lines.removeFirst();
}

QString LoginLog::toString() const
{
    if (m_lines.isEmpty())
        return QStringLiteral("none\n");
    return m_lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

} // namespace lab
