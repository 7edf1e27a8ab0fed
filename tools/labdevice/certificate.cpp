// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/certificate.h"

#include <QProcess>
#include <QSslCertificate>
#include <QSslKey>
#include <QStringList>
#include <QTextStream>

namespace lab {

std::optional<QSslConfiguration> makeCertificate()
{
    const QString out = QStringLiteral("/dev/stdout");
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
        { QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
            QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
            QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes"),
            QStringLiteral("-days"), QStringLiteral("30"), QStringLiteral("-subj"),
            QStringLiteral("/CN=lab-device"), QStringLiteral("-keyout"), out,
            QStringLiteral("-out"), out });
    openssl.waitForFinished();
    const QByteArray pem = openssl.readAllStandardOutput();
    const QSslKey key(pem, QSsl::Ec);
    const QSslCertificate certificate(pem);
    if (key.isNull() || certificate.isNull()) {
        QTextStream(stderr) << "lab-device: the program openssl made no certificate: "
                            << openssl.errorString() << ' ' << openssl.readAllStandardError()
                            << '\n';
        return std::nullopt;
    }
    QSslConfiguration shown = QSslConfiguration::defaultConfiguration();
    shown.setPrivateKey(key);
    shown.setLocalCertificate(certificate);
    return shown;
}

} // namespace lab
