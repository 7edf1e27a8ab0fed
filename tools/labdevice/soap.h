// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <utility>

class QXmlStreamWriter;

namespace lab {

/** Namespaces of other people's standards. */
namespace ns {
inline const QString soap = QStringLiteral("http://www.w3.org/2003/05/soap-envelope");
inline const QString addressing =
    QStringLiteral("http://schemas.xmlsoap.org/ws/2004/08/addressing");
inline const QString discovery = QStringLiteral("http://schemas.xmlsoap.org/ws/2005/04/discovery");
inline const QString device = QStringLiteral("http://www.onvif.org/ver10/device/wsdl");
inline const QString network = QStringLiteral("http://www.onvif.org/ver10/network/wsdl");
inline const QString schema = QStringLiteral("http://www.onvif.org/ver10/schema");
inline const QString error = QStringLiteral("http://www.onvif.org/ver10/error");
} // namespace ns

/** What the devices care about in a SOAP 1.2 message. */
struct SoapMessage
{
    QString messageId;
    QString tokenUser; ///< whom a security header names
    std::pair<QString, QString> body; ///< namespace and name of the first element in the body
    QList<std::pair<QString, QString>> types; ///< asked for: namespaces and names
    QStringList scopes; ///< asked for
    QString endpoint; ///< the address of the reference in the body
};

/**
 * Reads a message; nothing when it is none, is not well-formed, has a document type or is nested
 * more than 64 deep. On purpose not the reader of the programs that are tested against the devices.
 */
std::optional<SoapMessage> readSoap(const QByteArray& bytes);

using SoapPart = std::function<void(QXmlStreamWriter& xml)>;

/** Returns an envelope with what the two parts write; @p header may be null. */
QByteArray writtenSoap(const SoapPart& header, const SoapPart& body);

} // namespace lab
