// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

class QTcpSocket;

namespace tq::site {
struct DeviceSpec;
}

namespace lab {

/** Answers one HTTP request on @p socket with the device's page, after its delay, and hangs up. */
void answerRequest(QTcpSocket* socket, const tq::site::DeviceSpec& device);

} // namespace lab
