// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/nodehintipdevice.h"

#include <QHash>
#include <QTcpServer>

#include <functional>
#include <optional>

class QTcpSocket;

namespace tst {

/** What a visitor said, whole. */
struct WebRequest
{
    QByteArray method;
    QByteArray target;
    QByteArray head;
    QByteArray body;

    /** Returns the value of a field of the head, named as the visitor writes it. */
    QByteArray field(const QByteArray& name) const;
};

/** A device on loopback that gives every visitor the same answer, or the one it chooses. */
class WebDevice : public QTcpServer
{
    Q_OBJECT

public:
    enum EManner {
        ePlain, ///< answers and closes
        eTls, ///< the same behind a certificate that it signed itself
        eSilent, ///< accepts and says nothing
        eDripping, ///< a byte now and then after the answer
        eEndless, ///< as many bytes as the visitor takes
        eHalfClosed ///< answers, ends its own side, and waits for the visitor to go
    };
    using Chooser = std::function<std::optional<QByteArray>(const WebRequest&)>;

    explicit WebDevice(const QByteArray& answer, EManner manner = ePlain,
        const QString& address = QStringLiteral("127.0.0.1"));

    /** Answers as `chooser` says; nothing is silence. */
    explicit WebDevice(const Chooser& chooser, EManner manner = ePlain,
        const QString& address = QStringLiteral("127.0.0.1"));

    bool isSecure() const { return m_manner == eTls; }

    /** Returns everything that visitors said. */
    QByteArray requests() const { return m_requests; }
    bool isVisited() const { return m_visits > 0; }

    /** Returns whether there was a visitor and all have gone. */
    bool isLeft() const { return m_visits > 0 && m_open == 0; }

protected:
    void incomingConnection(qintptr handle) override;

private:
    void answer(QTcpSocket* visitor);
    void leave(QTcpSocket* visitor) const;

    Chooser m_chooser;
    EManner m_manner;
    QHash<QTcpSocket*, QByteArray> m_heard;
    QByteArray m_requests;
    int m_visits = 0;
    int m_open = 0;
};

/** Returns the hint of a person that entered the device, without and with a login. */
tq::NodeHintIPDevice hintFor(const WebDevice& device);
tq::NodeHintIPDevice hintWithLogin(const WebDevice& device, const char* password = "secret");

/** Returns a port of 127.0.0.1 that nobody listens on. */
quint16 closedPort();

} // namespace tst
