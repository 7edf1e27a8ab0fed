// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/http.h"

#include <functional>

class QTcpSocket;

namespace tq::site {
struct DeviceSpec;
}

namespace lab {

using Responder = std::function<HttpReply(const HttpRequest& request)>;

/** Answers one HTTP request on @p socket with what @p responder says, @p delay ms late, and hangs
 * up; also on a client that sends more than 80 KiB. */
void answerRequest(QTcpSocket* socket, int delay, const Responder& responder);

/** Returns the page that the device has for people. */
HttpReply pageOf(const tq::site::DeviceSpec& device);

} // namespace lab
