// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "drivers/ipcamera/onviffacts_p.h"
#include "parts/boundedxml.h"

#include <optional>

namespace tq {

/** What a camera's device service is asked. */
enum EOnvifQuestion {
    eOnvifDateAndTime, ///< GetSystemDateAndTime: answered without a login by whoever speaks ONVIF
    eOnvifReference, ///< GetEndpointReference: answered without a login by whoever knows it
    eOnvifInformation, ///< GetDeviceInformation
    eOnvifInterfaces ///< GetNetworkInterfaces
};

/** Returns the question as a SOAP 1.2 message. */
QByteArray onvifMessage(EOnvifQuestion question);

/** Returns the value of the Content-Type field that goes with it. */
QByteArray onvifContentType(EOnvifQuestion question);

/**
 * Returns the response element of the answer to `question`; nothing when `message` is anything
 * else. If that is a SOAP fault, `fault` gets its reason: clean, at most 80 characters, perhaps
 * empty.
 */
std::optional<XmlElement> onvifResponse(
    EOnvifQuestion question, const QByteArray& message, QString* fault);

/** Takes what a response to eOnvifInformation says. */
void takeInformation(const XmlElement& response, OnvifFacts& facts);

/** Returns the endpoint reference that a response to eOnvifReference says. */
QString referenceOf(const XmlElement& response);

/**
 * Returns the MAC of the interface that has the address `host`, as a response to eOnvifInterfaces
 * says; of the only interface where none has it. Else it is not known.
 */
MACAddress macOf(const XmlElement& response, const QString& host);

} // namespace tq
