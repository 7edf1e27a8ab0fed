// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/digest.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace lab {

namespace {

const qsizetype k_mostNonces = 64;

QByteArray hashOf(const QByteArrayList& parts)
{
    return QCryptographicHash::hash(parts.join(':'), QCryptographicHash::Md5).toHex();
}

} // namespace

QHash<QByteArray, QByteArray> digestFields(const QByteArray& value)
{
    static const QRegularExpression field(
        QStringLiteral(R"re((\w+)\s*=\s*(?:"((?:[^"\\]|\\.)*+)"|([^\s,"]+)))re"));
    static const QRegularExpression quoted(QStringLiteral(R"(\\(.))"));
    QHash<QByteArray, QByteArray> fields;
    auto matches = field.globalMatch(QString::fromUtf8(value));
    while (matches.hasNext()) {
        const auto match = matches.next();
        const QString text = match.captured(2).replace(quoted, QStringLiteral("\\1"));
        fields.insert(match.captured(1).toLower().toLatin1(), (text + match.captured(3)).toUtf8());
    }
    return fields;
}

DigestGate::DigestGate(const QString& user, const QString& password, const QByteArray& realm)
    : m_user(user.toUtf8())
    , m_realm(realm)
    , m_secret(hashOf({ m_user, m_realm, password.toUtf8() }))
{
}

DigestGate::Nonce* DigestGate::find(const QByteArray& text)
{
    const auto found = std::find_if(m_nonces.begin(), m_nonces.end(),
        [&text](const Nonce& nonce) { return nonce.text == text; });
    return found == m_nonces.end() ? nullptr : &*found;
}

bool DigestGate::admits(const HttpRequest& request)
{
    const QByteArray value = request.headers.value("authorization");
    if (!value.toLower().startsWith("digest "))
        return false;
    const auto fields = digestFields(value.mid(7));
    const QByteArray count = fields.value("nc");
    Nonce* nonce = find(fields.value("nonce"));
    if (!nonce || fields.value("username") != m_user || fields.value("realm") != m_realm
        || fields.value("uri") != request.target || fields.value("qop") != "auth"
        || count.size() != 8 || count.toUInt(nullptr, 16) <= nonce->used)
        return false;
    const QByteArray action = hashOf({ request.method, request.target });
    const QByteArray right =
        hashOf({ m_secret, nonce->text, count, fields.value("cnonce"), "auth", action });
    if (fields.value("response").toLower() != right)
        return false;
    nonce->used = count.toUInt(nullptr, 16);
    return true;
}

QByteArray DigestGate::challenge()
{
    std::array<quint32, 4> random{};
    QRandomGenerator::system()->fillRange(random.data(), random.size());
    const QByteArray text =
        QByteArray(reinterpret_cast<const char*>(random.data()), sizeof random).toHex();
    m_nonces.append({ text, 0 });
    if (m_nonces.size() > k_mostNonces)
        m_nonces.removeFirst();
    return "Digest realm=\"" + m_realm + "\", nonce=\"" + text + R"(", qop="auth", algorithm=MD5)";
}

} // namespace lab
