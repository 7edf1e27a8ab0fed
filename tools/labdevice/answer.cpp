// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/answer.h"

#include "simulated/site/site.h"

#include <QTcpSocket>
#include <QTimer>

namespace lab {

namespace {

const qint64 k_longestRequest = 16384;

QByteArray reply(const tq::site::DeviceSpec& device, bool withPage)
{
    const QString title = device.title.toHtmlEscaped();
    const QByteArray page = QStringLiteral("<!DOCTYPE html>\n<html><head><title>%1</title></head>"
                                           "<body><h1>%1</h1></body></html>\n")
                                .arg(title)
                                .toUtf8();
    QByteArray bytes = "HTTP/1.1 200 OK\r\n";
    if (!device.server.isEmpty())
        bytes += "Server: " + device.server.toUtf8() + "\r\n";
    bytes += "Content-Type: text/html; charset=utf-8\r\nConnection: close\r\nContent-Length: "
        + QByteArray::number(page.size()) + "\r\n\r\n";
    return withPage ? bytes + page : bytes;
}

void send(QTcpSocket* socket, const QByteArray& bytes)
{
    socket->write(bytes);
    socket->disconnectFromHost();
}

void takeInput(QTcpSocket* socket, const tq::site::DeviceSpec& device)
{
    const QByteArray request = socket->peek(k_longestRequest);
    if (request.size() == k_longestRequest)
        socket->abort();
    if (!request.contains("\r\n\r\n"))
        return;
    QObject::disconnect(socket, &QTcpSocket::readyRead, nullptr, nullptr);
    const QByteArray bytes = reply(device, !request.startsWith("HEAD "));
    QTimer::singleShot(device.delay, socket, [socket, bytes] { send(socket, bytes); });
}

} // namespace

void answerRequest(QTcpSocket* socket, const tq::site::DeviceSpec& device)
{
    QObject::connect(
        socket, &QTcpSocket::readyRead, socket, [socket, device] { takeInput(socket, device); });
    if (socket->bytesAvailable() > 0)
        takeInput(socket, device);
}

} // namespace lab
