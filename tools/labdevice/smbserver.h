// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/gathering.h"
#include "simulated/site/site.h"

#include <QDir>
#include <QProcess>

namespace lab {

/**
 * Serves the shares of one device with the program smbd, on the device's address, port 445. Needs
 * users of the site's names on the machine, and the rights to change a process to any of them:
 * tools/lab makes that so in a namespace.
 *
 * What a user may do with a share stands in the configuration and in the access lists of the
 * share's folder alike.
 */
class SmbServer : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SmbServer)

public:
    /** Keeps its files in @p folder; the users must be able to walk down to that. */
    SmbServer(const tq::site::SmbSpec& smb, const QString& name, const QString& folder);
    ~SmbServer() override;

    /** Serves on @p address; what it served on before, it leaves. */
    void start(const QHostAddress& address, const Done& done);

    void stop();

private:
    QString prepare();
    QString prepareShare(const tq::site::SmbShare& share);
    QString configuration(const QHostAddress& address) const;
    QString write(const QString& file, const QByteArray& content) const;
    void awaitPort(const QHostAddress& address, int tries, const Done& done);

    tq::site::SmbSpec m_smb;
    QString m_name;
    QDir m_folder;
    bool m_prepared = false;
    QProcess m_smbd;
};

} // namespace lab
