// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/webanswer_p.h"

#include <QRegularExpression>

#include <utility>

namespace tq {

namespace {

constexpr qsizetype k_longest = 65536; ///< bytes
constexpr int k_hexadecimal = 16;

qsizetype endOfHead(const QByteArray& received, qsizetype begin)
{
    const qsizetype strict = received.indexOf("\r\n\r\n", begin);
    const qsizetype lax = received.indexOf("\n\n", begin);
    if (strict >= 0 && (lax < 0 || strict < lax))
        return strict + 4;
    return lax < 0 ? -1 : lax + 2;
}

/** Whether such an answer goes before the answer proper. */
bool isInterim(int status)
{
    return status >= 100 && status <= 199;
}

struct Chunks
{
    QByteArray bytes;
    bool isWhole = false;
};

/** What is no chunk ends the body as the last one does. */
Chunks joined(const QByteArray& raw)
{
    Chunks result;
    qsizetype at = 0;
    while (true) {
        const qsizetype lineEnd = raw.indexOf('\n', at);
        if (lineEnd < 0)
            return result;
        const QByteArray line = raw.mid(at, lineEnd - at);
        bool isLength = false;
        const int length = line.split(';').first().trimmed().toInt(&isLength, k_hexadecimal);
        if (!isLength || length <= 0) {
            result.isWhole = true;
            return result;
        }
        result.bytes += raw.mid(lineEnd + 1, length);
        at = raw.indexOf('\n', lineEnd + 1 + length) + 1;
        if (at == 0)
            return result;
    }
}

} // namespace

qsizetype WebAnswer::room() const
{
    return k_longest - m_received.size();
}

void WebAnswer::take(const QByteArray& bytes)
{
    m_received += bytes;
    while (!hasHead()) {
        m_bodyBegin = endOfHead(m_received, m_headBegin);
        if (!hasHead())
            return;
        if (isInterim(status()))
            m_headBegin = std::exchange(m_bodyBegin, -1);
    }
}

bool WebAnswer::isForeign() const
{
    const QByteArray protocol = QByteArrayLiteral("HTTP/");
    const QByteArray start = m_received.mid(m_headBegin, protocol.size());
    return !protocol.startsWith(start) || (hasHead() && status() == 0);
}

int WebAnswer::status() const
{
    static const QRegularExpression line(QStringLiteral("^HTTP/\\d\\.\\d ([1-5]\\d\\d)\\s"));
    if (!hasHead())
        return 0;
    const qsizetype end = m_received.indexOf('\n', m_headBegin) + 1;
    const auto match =
        line.match(QString::fromLatin1(m_received.mid(m_headBegin, end - m_headBegin)));
    return match.captured(1).toInt();
}

QByteArray WebAnswer::field(const QByteArray& name) const
{
    return fields(name).value(0);
}

QList<QByteArray> WebAnswer::fields(const QByteArray& name) const
{
    QList<QByteArray> values;
    const QList<QByteArray> lines =
        m_received.mid(m_headBegin, m_bodyBegin - m_headBegin).split('\n');
    for (const QByteArray& line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().toLower() == name)
            values.append(line.mid(colon + 1).trimmed());
    }
    return values;
}

bool WebAnswer::isChunked() const
{
    return field("transfer-encoding").toLower().endsWith("chunked");
}

QByteArray WebAnswer::body() const
{
    if (!hasHead())
        return QByteArray();
    const QByteArray raw = m_received.mid(m_bodyBegin);
    return isChunked() ? joined(raw).bytes : raw;
}

bool WebAnswer::isWhole() const
{
    if (!hasHead())
        return false;
    const QByteArray raw = m_received.mid(m_bodyBegin);
    if (isChunked())
        return joined(raw).isWhole;
    bool isKnown = false;
    const qint64 length = field("content-length").toLongLong(&isKnown);
    return isKnown && raw.size() >= length;
}

} // namespace tq
