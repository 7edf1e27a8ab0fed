// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/digestlogin_p.h"

#include <QHash>

#include <algorithm>

namespace tq {

namespace {

constexpr qsizetype k_longestField = 4096; ///< bytes
constexpr int k_countDigits = 8;
constexpr int k_hexadecimal = 16;

/** One challenge of a field: a scheme and its parameters, names in small letters. */
struct Challenge
{
    QByteArray scheme;
    QHash<QByteArray, QByteArray> parameters;
};

bool isControl(char character)
{
    return quint8(character) < ' ' || character == '\x7f';
}

bool hasControls(const QByteArray& text)
{
    return std::any_of(text.begin(), text.end(), isControl);
}

/** Reads a field that may hold several challenges, a comma between any two of their parts. */
class FieldReader
{
public:
    explicit FieldReader(const QByteArray& field) : m_field(field) { }

    QList<Challenge> read()
    {
        QList<Challenge> challenges;
        while (true) {
            skip(" \t,");
            const QByteArray name = token().toLower();
            skip(" \t");
            if (name.isEmpty())
                return challenges;
            if (!take('='))
                challenges.append({ name, {} });
            else if (!challenges.isEmpty())
                challenges.last().parameters.insert(name, value());
        }
    }

private:
    bool isAtEnd() const { return m_at == m_field.size(); }

    void skip(const char* characters)
    {
        while (!isAtEnd() && QByteArray(characters).contains(m_field.at(m_at)))
            ++m_at;
    }

    bool take(char character)
    {
        const bool isThere = !isAtEnd() && m_field.at(m_at) == character;
        m_at += isThere ? 1 : 0;
        return isThere;
    }

    QByteArray token()
    {
        const qsizetype begin = m_at;
        while (!isAtEnd() && !QByteArray(" \t,=\"").contains(m_field.at(m_at)))
            ++m_at;
        return m_field.mid(begin, m_at - begin);
    }

    /** What stands between quotes is returned as it stands: so it is hashed, and sent back. */
    QByteArray value()
    {
        skip(" \t");
        if (!take('"'))
            return token();
        const qsizetype begin = m_at;
        while (!isAtEnd() && m_field.at(m_at) != '"')
            m_at = std::min(m_at + (m_field.at(m_at) == '\\' ? 2 : 1), m_field.size());
        const QByteArray quoted = m_field.mid(begin, m_at - begin);
        return take('"') ? quoted : QByteArray();
    }

    QByteArray m_field;
    qsizetype m_at = 0;
};

/** Returns whether the qualities of protection that a challenge lists have one that we speak. */
bool offersAuth(const QByteArray& qualities)
{
    const QList<QByteArray> each = qualities.toLower().split(',');
    return std::any_of(each.begin(), each.end(),
        [](const QByteArray& quality) { return quality.trimmed() == "auth"; });
}

std::optional<DigestChallenge> digestOf(const Challenge& said)
{
    const auto& parameters = said.parameters;
    const QByteArray quality = parameters.value("qop");
    DigestChallenge result;
    result.realm = parameters.value("realm");
    result.nonce = parameters.value("nonce");
    result.opaque = parameters.value("opaque");
    result.algorithm = parameters.value("algorithm");
    result.hasQuality = offersAuth(quality);
    result.isStale = parameters.value("stale").toLower() == "true";
    const QByteArray algorithm = result.algorithm.toUpper();
    if (algorithm == "SHA-256")
        result.hash = QCryptographicHash::Sha256;
    else if (!algorithm.isEmpty() && algorithm != "MD5")
        return std::nullopt;
    const bool isOther = said.scheme != "digest" || (!quality.isEmpty() && !result.hasQuality);
    return isOther || result.nonce.isEmpty() ? std::nullopt : std::optional(result);
}

QByteArray quoted(QByteArray text)
{
    return '"' + text.replace('\\', "\\\\").replace('"', "\\\"") + '"';
}

QByteArray countText(quint32 count)
{
    return QByteArray::number(count, k_hexadecimal).rightJustified(k_countDigits, '0');
}

QByteArray responseTo(
    const DigestChallenge& challenge, const UserAndPassword& login, const DigestUse& use)
{
    const auto hash = [&](const QList<QByteArray>& parts) {
        return QCryptographicHash::hash(parts.join(':'), challenge.hash).toHex();
    };
    const QByteArray who = hash({ login.user.toUtf8(), challenge.realm, login.password.toUtf8() });
    const QByteArray what = hash({ use.method, use.target });
    if (!challenge.hasQuality)
        return hash({ who, challenge.nonce, what });
    return hash({ who, challenge.nonce, countText(use.count), use.clientNonce, "auth", what });
}

} // namespace

std::optional<DigestChallenge> digestChallenge(const QList<QByteArray>& fields)
{
    std::optional<DigestChallenge> best;
    for (const QByteArray& field : fields) {
        if (field.size() > k_longestField || hasControls(field))
            continue;
        const QList<Challenge> challenges = FieldReader(field).read();
        for (const Challenge& each : challenges) {
            const auto digest = digestOf(each);
            const bool isBetter = digest && digest->hash == QCryptographicHash::Sha256 && best
                && best->hash == QCryptographicHash::Md5;
            if (digest && (!best || isBetter))
                best = digest;
        }
    }
    return best;
}

QByteArray digestAuthorization(
    const DigestChallenge& challenge, const UserAndPassword& login, const DigestUse& use)
{
    const QByteArray user = login.user.toUtf8();
    if (user.isEmpty() || hasControls(user))
        return QByteArray();
    QByteArray value = "Digest username=" + quoted(user) + ", realm=\"" + challenge.realm
        + "\", nonce=\"" + challenge.nonce + "\", uri=" + quoted(use.target) + ", response=\""
        + responseTo(challenge, login, use) + '"';
    if (!challenge.algorithm.isEmpty())
        value += ", algorithm=" + challenge.algorithm;
    if (!challenge.opaque.isEmpty())
        value += ", opaque=\"" + challenge.opaque + '"';
    if (challenge.hasQuality)
        value += ", qop=auth, nc=" + countText(use.count) + ", cnonce=\"" + use.clientNonce + '"';
    return value;
}

} // namespace tq
