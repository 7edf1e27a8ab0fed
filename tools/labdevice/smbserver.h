// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/gathering.h"
#include "simulated/site/site.h"

#include <QProcess>

namespace lab {

/** Serves the shares of one device on the device's address, port 445, by tools/smb-server. */
class SmbServer : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SmbServer)

public:
    /** Runs @p program, which keeps its files in @p folder; the users must be able to walk down to
     * that. */
    SmbServer(const tq::site::SmbSpec& smb, const QString& program, const QString& folder);
    ~SmbServer() override;

    /** Serves on @p address; what it served on before, it leaves. */
    void start(const QHostAddress& address, const Done& done);

    void stop();

private:
    void awaitPort(const QHostAddress& address, int tries, const Done& done);

    QByteArray m_description;
    QString m_folder;
    QProcess m_server;
};

} // namespace lab
