// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/jsontext.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace tq::cli {

namespace {

bool actsOnTerminal(char32_t c)
{
    switch (QChar::category(c)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return c != U'\n'; // between members; inside of texts it is escaped already
    default:
        return false;
    }
}

} // namespace

QString jsonText(const QJsonObject& document)
{
    const QString plain = QString::fromUtf8(QJsonDocument(document).toJson());
    QString result;
    result.reserve(plain.size());
    for (const uint c : plain.toUcs4()) {
        const QString character = QString::fromUcs4(reinterpret_cast<const char32_t*>(&c), 1);
        if (!actsOnTerminal(c)) {
            result += character;
            continue;
        }
        for (const QChar unit : character)
            result += QStringLiteral("\\u%1").arg(uint(unit.unicode()), 4, 16, QLatin1Char('0'));
    }
    return result;
}

} // namespace tq::cli
