// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/macaddress.h"

#include <QByteArray>
#include <QRegularExpression>
#include <QStringList>

namespace tq {

namespace {

/** Returns `text` as twelve hexadecimal digits; an empty text when it is in none of the notations.
 */
QString digitsOf(const QString& text)
{
    static const QRegularExpression pairs(
        QStringLiteral("\\A[0-9A-Fa-f]{1,2}([:-])[0-9A-Fa-f]{1,2}(?:\\1[0-9A-Fa-f]{1,2}){4}\\z"));
    static const QRegularExpression plain(
        QStringLiteral("\\A(?:[0-9A-Fa-f]{12}|(?:[0-9A-Fa-f]{4}\\.){2}[0-9A-Fa-f]{4})\\z"));
    if (plain.match(text).hasMatch())
        return QString(text).remove(QLatin1Char('.'));
    const QRegularExpressionMatch match = pairs.match(text);
    if (!match.hasMatch())
        return QString();
    QString digits;
    for (const QString& part : text.split(match.captured(1)))
        digits += part.rightJustified(2, QLatin1Char('0'));
    return digits;
}

} // namespace

MACAddress::MACAddress(const Bytes& bytes) : m_bytes(bytes) { }

bool MACAddress::isOneDevices() const
{
    const bool isGroup = (bytes().front() & 1U) != 0;
    return !isGroup && bytes() != Bytes{};
}

MACAddress::MACAddress(const QString& text)
{
    if (const auto parsed = parse(text))
        *this = *parsed;
}

std::optional<MACAddress> MACAddress::parse(const QString& text)
{
    if (text.trimmed().isEmpty())
        return MACAddress();
    const QByteArray raw = QByteArray::fromHex(digitsOf(text.trimmed()).toLatin1());
    Bytes bytes{};
    if (std::size_t(raw.size()) != bytes.size())
        return std::nullopt;
    std::copy(raw.begin(), raw.end(), bytes.begin());
    return MACAddress(bytes);
}

QString MACAddress::toString() const
{
    if (isEmpty())
        return QString();
    const Bytes raw = *m_bytes;
    const QByteArray bytes(reinterpret_cast<const char*>(raw.data()), qsizetype(raw.size()));
    return QString::fromLatin1(bytes.toHex(':'));
}

} // namespace tq
