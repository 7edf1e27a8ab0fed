// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/tell.h"

#include <QLocalSocket>
#include <QTextStream>

namespace lab {

namespace {

const int k_outside = 125;
const int k_patience = 10000; // ms

} // namespace

int tell(const QString& words)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QString path = qEnvironmentVariable("LAB_CONTROL");
    QLocalSocket socket;
    socket.connectToServer(path);
    if (path.isEmpty() || !socket.waitForConnected(k_patience)) {
        err << "lab-device: this is not inside the lab (LAB_CONTROL is \"" << path << "\")\n";
        return k_outside;
    }
    socket.write(words.simplified().toUtf8() + '\n');
    while (socket.canReadLine() || socket.waitForReadyRead(k_patience)) {
        const QByteArray line = socket.readLine();
        if (line.isEmpty())
            continue;
        out << QString::fromUtf8(line);
        if (line == "ok\n")
            return 0;
        if (line.startsWith("error "))
            return 1;
    }
    err << "lab-device: the lab does not answer\n";
    return k_outside;
}

} // namespace lab
