// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/nasdevice/smbnegotiation_p.h"

#include <QtEndian>

#include <algorithm>
#include <array>

namespace tq::smbnegotiation {

namespace {

// The message as the standard lays it out: four bytes of length, a header, and a body.
constexpr qsizetype k_lengthSize = 4;
constexpr qsizetype k_headerSize = 64;
constexpr qsizetype k_bodySize = 36;
constexpr qsizetype k_answerSize = 64; ///< of an answer's body, without its last field
constexpr quint32 k_longestAnswer = 65536;

// Places in the header and in the bodies.
constexpr qsizetype k_statusAt = 8;
constexpr qsizetype k_commandAt = 12;
constexpr qsizetype k_flagsAt = 16;
constexpr qsizetype k_dialectAt = k_headerSize + 4; ///< in an answer

constexpr quint32 k_fromServer = 1;
constexpr quint16 k_answerStructure = 65;
constexpr std::array<quint16, 4> k_dialects{ 0x0202, 0x0210, 0x0300, 0x0302 };

const QByteArray k_protocol = QByteArrayLiteral("\xfeSMB");

template <class T>
T numberAt(const QByteArray& message, qsizetype at)
{
    return qFromLittleEndian<T>(message.constData() + at);
}

template <class T>
void setNumber(QByteArray& message, qsizetype at, T value)
{
    qToLittleEndian(value, message.data() + at);
}

bool isChoice(const QByteArray& message)
{
    const auto dialect = numberAt<quint16>(message, k_dialectAt);
    return numberAt<quint16>(message, 4) == k_headerSize
        && numberAt<quint32>(message, k_statusAt) == 0
        && numberAt<quint16>(message, k_commandAt) == 0
        && (numberAt<quint32>(message, k_flagsAt) & k_fromServer) != 0
        && numberAt<quint16>(message, k_headerSize) == k_answerStructure
        && std::find(k_dialects.begin(), k_dialects.end(), dialect) != k_dialects.end();
}

} // namespace

QByteArray request()
{
    QByteArray message(k_headerSize + k_bodySize, '\0');
    message.replace(0, k_protocol.size(), k_protocol);
    setNumber<quint16>(message, 4, k_headerSize);
    setNumber<quint16>(message, 14, 1); // one credit asked for
    setNumber<quint16>(message, k_headerSize, k_bodySize);
    setNumber<quint16>(message, k_headerSize + 2, quint16(k_dialects.size()));
    setNumber<quint16>(message, k_headerSize + 4, 1); // we could sign
    message.replace(k_headerSize + 12, 16, QByteArrayLiteral("nodedb asks only")); // the client
    for (const quint16 dialect : k_dialects) {
        message.append(2, '\0');
        setNumber(message, message.size() - 2, dialect);
    }
    QByteArray length(k_lengthSize, '\0');
    qToBigEndian(quint32(message.size()), length.data());
    return length + message;
}

EAnswer judge(const QByteArray& received)
{
    const QByteArray start = received.mid(k_lengthSize, k_protocol.size());
    if (!k_protocol.startsWith(start))
        return eForeign;
    if (received.size() < k_lengthSize)
        return received.isEmpty() || received.at(0) == 0 ? eIncomplete : eForeign;
    const auto length = qFromBigEndian<quint32>(received.constData());
    if (length < k_headerSize + k_answerSize || length > k_longestAnswer)
        return eForeign;
    if (received.size() < k_lengthSize + k_headerSize + k_answerSize)
        return eIncomplete;
    return isChoice(received.mid(k_lengthSize)) ? eServer : eForeign;
}

} // namespace tq::smbnegotiation
