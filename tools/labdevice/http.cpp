// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/http.h"

namespace lab {

std::optional<HttpRequest> readRequest(const QByteArray& bytes)
{
    const qsizetype end = bytes.indexOf("\r\n\r\n");
    if (end < 0)
        return std::nullopt;
    HttpRequest request;
    QList<QByteArray> lines = bytes.left(end).split('\n');
    const QList<QByteArray> first = lines.takeFirst().trimmed().split(' ');
    request.method = first.value(0);
    request.target = first.value(1);
    for (const QByteArray& line : std::as_const(lines)) {
        const qsizetype colon = line.indexOf(':');
        request.headers.insert(line.left(colon).trimmed().toLower(), line.mid(colon + 1).trimmed());
    }
    const qint64 length = request.headers.value("content-length").toLongLong();
    request.body = bytes.mid(end + 4);
    if (request.body.size() < length)
        return std::nullopt;
    return request;
}

QByteArray written(const HttpReply& reply, bool withBody)
{
    QByteArray bytes = "HTTP/1.1 " + reply.status + "\r\n";
    for (const auto& [name, value] : reply.headers)
        bytes += name + ": " + value + "\r\n";
    bytes += "Content-Type: " + reply.type + "\r\nConnection: close\r\nContent-Length: "
        + QByteArray::number(reply.body.size()) + "\r\n\r\n";
    return withBody ? bytes + reply.body : bytes;
}

} // namespace lab
