// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>

#include <optional>
#include <utility>

namespace lab {

/** A request as it came; whatever a client left out is empty. */
struct HttpRequest
{
    QByteArray method;
    QByteArray target;
    QHash<QByteArray, QByteArray> headers; ///< by their names in small letters
    QByteArray body;
};

struct HttpReply
{
    QByteArray status = QByteArrayLiteral("200 OK");
    QList<std::pair<QByteArray, QByteArray>> headers; ///< besides those that every reply has
    QByteArray type;
    QByteArray body;
};

/** Reads a request; nothing until all of it is there. */
std::optional<HttpRequest> readRequest(const QByteArray& bytes);

/** Returns what goes over the line, without the body when @p withBody is false. The connection
 * closes after it. */
QByteArray written(const HttpReply& reply, bool withBody);

} // namespace lab
