// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/cleantext.h"

#include <QStringDecoder>

namespace tq {

namespace {

constexpr qsizetype k_bytesPerCharacter = 8; ///< of what is worth decoding

QString decoded(const QByteArray& said)
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(said);
    return utf8.hasError() ? QString::fromLatin1(said) : text;
}

bool isShown(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate: // whole pairs too: a name can do without them
    case QChar::Other_PrivateUse:
    case QChar::Other_NotAssigned:
        return false;
    default:
        return true;
    }
}

} // namespace

QString cleanText(const QByteArray& said, int longest)
{
    QString text = decoded(said.left(longest * k_bytesPerCharacter));
    for (QChar& character : text) {
        if (!isShown(character))
            character = QLatin1Char(' ');
    }
    return text.simplified().left(longest).trimmed();
}

} // namespace tq
