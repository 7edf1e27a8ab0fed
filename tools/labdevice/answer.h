// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

class QTcpSocket;

namespace lab {

struct DeviceSpec;

/** Answers one HTTP request on @p socket with the device's page, after its delay, and hangs up. */
void answerRequest(QTcpSocket* socket, const DeviceSpec& device);

} // namespace lab
