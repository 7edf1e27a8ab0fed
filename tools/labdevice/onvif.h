// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/digest.h"

#include <QHostAddress>

#include <optional>

namespace tq::site {
struct DeviceSpec;
}

namespace lab {

class LoginLog;

/** Where the service stands on the device's web server. */
inline const QByteArray k_onvifTarget = QByteArrayLiteral("/onvif/device_service");

/**
 * The device service of a camera that speaks ONVIF: its clock and its endpoint reference for
 * everybody, what it is and its network interface for who has its login, faults for the rest.
 */
class OnvifService
{
public:
    /** @p logins gets logins that come inside of messages. Both must outlive the service. */
    OnvifService(const tq::site::DeviceSpec& device, LoginLog& logins);

    HttpReply answer(const HttpRequest& request);

private:
    const tq::site::DeviceSpec& m_device;
    LoginLog& m_logins;
    std::optional<DigestGate> m_gate; ///< none: it asks for no login
};

} // namespace lab
