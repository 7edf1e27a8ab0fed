// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/userandpassword.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QList>

#include <optional>

namespace tq {

/** How a web server asks for a login that shows no password: RFC 7616, and RFC 2617 before it. */
struct DigestChallenge
{
    QByteArray realm; ///< as between the quotes, this and the next two
    QByteArray nonce;
    QByteArray opaque;
    QByteArray algorithm; ///< as it was said; empty when it was not
    QCryptographicHash::Algorithm hash = QCryptographicHash::Md5;
    bool hasQuality = false; ///< the quality of protection "auth" is offered
    bool isStale = false; ///< the login was right, the nonce too old
};

/**
 * Returns the best challenge for a digest among the values of WWW-Authenticate fields, SHA-256
 * before MD5; nothing when there is none that can be answered: other schemes, Basic above all,
 * other algorithms, no nonce, or characters that do not belong into a head.
 */
std::optional<DigestChallenge> digestChallenge(const QList<QByteArray>& fields);

/** What an answer to a challenge is for. */
struct DigestUse
{
    QByteArray method;
    QByteArray target; ///< of the request line
    QByteArray clientNonce; ///< of the caller's choice: letters and digits
    quint32 count = 1; ///< how often the challenge's nonce is used now
};

/** Returns the value of the Authorization field; empty for a user's name that cannot stand in a
 * head. */
QByteArray digestAuthorization(
    const DigestChallenge& challenge, const UserAndPassword& login, const DigestUse& use);

} // namespace tq
