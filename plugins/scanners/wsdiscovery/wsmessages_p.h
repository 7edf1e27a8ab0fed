// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tq {

/** What a device says of itself in a Hello, a Bye or a match. */
struct WsDevice
{
    QString endpoint; ///< its endpoint reference: printable ASCII, at most 256 characters
    QString name; ///< from its scopes, clean and at most 80 characters; may be empty
    QStringList addresses; ///< the URLs of its service in its order, 16 at most
    std::optional<quint32> version; ///< of its metadata
};

/** A message of WS-Discovery, as far as a client cares. */
struct WsMessage
{
    enum EKind { eOther, eHello, eBye, eProbeMatches, eResolveMatches };

    EKind kind = eOther;
    QString relatesTo; ///< the id of the message that it answers
    QList<WsDevice> devices; ///< those whose endpoint reference is sound
};

/** The kinds of devices that are asked for. */
enum class EWsType { eNetworkVideoTransmitter, eDevice };

/** Returns a new message id. */
QString newWsMessageId();

/** Makes the message that asks all devices of a kind to show themselves. */
QByteArray wsProbe(const QString& id, EWsType type);

/** Makes the message that asks where a device is; `endpoint` as in WsDevice. */
QByteArray wsResolve(const QString& id, const QString& endpoint);

/**
 * Reads a datagram; nothing when it is larger than 32767 bytes or no message in an envelope. The
 * reason in `error` may hold what the sender wrote.
 */
std::optional<WsMessage> readWsMessage(const QByteArray& datagram, QString& error);

} // namespace tq
