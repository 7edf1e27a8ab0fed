// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "simulated/site/site.h"

#include <QUdpSocket>

class QXmlStreamWriter;

namespace lab {

struct SoapMessage;

/** Returns under which name a camera announces itself, whatever its address. */
QString endpointReferenceOf(const tq::site::DeviceSpec& device);

/**
 * Answers WS-Discovery for one camera on its own interface and from its own address: Probe for
 * anything that it is, and Resolve.
 */
class WsDiscovery : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WsDiscovery)

public:
    /** @p version counts how often the camera came; it grows when something may have changed. */
    WsDiscovery(const tq::site::DeviceSpec& device, int version);

    /** Listens on the interface @p link; returns what went wrong, empty when nothing did. */
    [[nodiscard]] QString listen(const QString& link);

    /** Says to everybody that the camera has come, and that it goes. */
    void sayHello();
    void sayBye();

private:
    struct Target
    {
        QHostAddress address;
        quint16 port;
    };

    void takeInput();
    void answer(const SoapMessage& question, const Target& asker);
    bool isAskedFor(const SoapMessage& probe) const;
    void send(
        const QString& name, const QString& match, const QString& relatesTo, const Target& target);
    void writeHeader(
        QXmlStreamWriter& xml, const QString& action, const QString& relatesTo, bool toAll) const;
    void writeSelf(QXmlStreamWriter& xml, bool isLeaving) const;
    QStringList scopes() const;
    QString serviceUrl() const;

    tq::site::DeviceSpec m_device;
    int m_version;
    int m_sent = 0;
    QUdpSocket m_socket;
};

} // namespace lab
