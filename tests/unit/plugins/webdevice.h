// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTcpServer>

class QTcpSocket;

namespace tst {

/** A device on loopback that gives every visitor the same answer. */
class WebDevice : public QTcpServer
{
    Q_OBJECT

public:
    enum EManner {
        ePlain, ///< answers and closes
        eTls, ///< the same behind a certificate that it signed itself
        eSilent, ///< accepts and says nothing
        eDripping, ///< a byte now and then after the answer
        eEndless ///< as many bytes as the visitor takes
    };

    explicit WebDevice(const QByteArray& answer, EManner manner = ePlain,
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

    QByteArray m_answer;
    EManner m_manner;
    QByteArray m_requests;
    int m_visits = 0;
    int m_open = 0;
};

/** Returns a port of 127.0.0.1 that nobody listens on. */
quint16 closedPort();

} // namespace tst
