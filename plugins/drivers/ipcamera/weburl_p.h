// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "parts/hintfacts.h"

#include <QByteArray>
#include <QUrl>

namespace tq {

/** Returns whether `host` can stand in a URL. */
bool isUsableHost(const QString& host);

/** Returns the URL of `path`, which begins with a slash, on a device. */
QUrl webUrl(const QString& host, const Endpoint& endpoint, const QString& path);

/** Returns whether it is HTTP or HTTPS. */
bool isWebUrl(const QUrl& url);

/** Returns where such a URL leads. */
Endpoint endpointOf(const QUrl& url);

/** Returns what a request line says of a URL: path and query, encoded. */
QByteArray requestTarget(const QUrl& url);

/** Returns what the Host field says of it; a zone of IPv6 is this machine's own business. */
QByteArray hostField(const QUrl& url);

} // namespace tq
