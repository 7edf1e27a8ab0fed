// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/http.h"

#include <QString>

namespace lab {

/** Returns the fields of a Digest header, names in small letters, values without their quotes. */
QHash<QByteArray, QByteArray> digestFields(const QByteArray& value);

/**
 * Lets requests through that prove to know a login: HTTP Digest, MD5, qop "auth". A nonce is good
 * for as long as it is among the last 64, each count of it once.
 */
class DigestGate
{
public:
    DigestGate(const QString& user, const QString& password, const QByteArray& realm);

    /** Whether the Authorization header of @p request is right; uses up its count. */
    bool admits(const HttpRequest& request);

    /** Returns a new challenge: the value of a WWW-Authenticate header. */
    QByteArray challenge();

private:
    struct Nonce
    {
        QByteArray text;
        uint used = 0; ///< the highest count seen
    };

    Nonce* find(const QByteArray& text);

    QByteArray m_user;
    QByteArray m_realm;
    QByteArray m_secret; ///< of user, realm and password
    QList<Nonce> m_nonces;
};

} // namespace lab
