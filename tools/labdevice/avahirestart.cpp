// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/avahirestart.h"

#include <QProcess>

namespace lab {

void restartAvahi(const QString& folder, const Done& done)
{
    auto* process = new QProcess; // goes when it has ended
    // Opening a pipe waits for its other end, which must not stop the devices.
    const QString script = QStringLiteral(
        R"([[ -p $0/near.ask ]] && echo again >"$0/near.ask" && read -r told <"$0/near.told" && [[ $told == ok ]])");
    QObject::connect(process, &QProcess::finished, process, [process, done](int code) {
        process->deleteLater();
        done(code == 0 ? QString() : QStringLiteral("there is no Avahi on the near side"));
    });
    process->start(QStringLiteral("bash"), { QStringLiteral("-c"), script, folder });
}

} // namespace lab
