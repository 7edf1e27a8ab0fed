// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/answer.h"

#include "simulated/site/site.h"

#include <QTcpSocket>
#include <QTimer>

namespace lab {

namespace {

const qint64 k_longestRequest = 80 * 1024;

void send(QTcpSocket* socket, const QByteArray& bytes)
{
    socket->write(bytes);
    socket->disconnectFromHost();
}

void takeInput(QTcpSocket* socket, int delay, const Responder& responder)
{
    const QByteArray bytes = socket->peek(k_longestRequest);
    if (bytes.size() == k_longestRequest)
        socket->abort();
    const auto request = readRequest(bytes);
    if (!request)
        return;
    const QByteArray reply = written(responder(*request), request->method != "HEAD");
    QObject::disconnect(socket, &QTcpSocket::readyRead, nullptr, nullptr);
    QTimer::singleShot(delay, socket, [socket, reply] { send(socket, reply); });
}

} // namespace

void answerRequest(QTcpSocket* socket, int delay, const Responder& responder)
{
    const auto take = [socket, delay, responder] { takeInput(socket, delay, responder); };
    QObject::connect(socket, &QTcpSocket::readyRead, socket, take);
    if (socket->bytesAvailable() > 0)
        take();
}

HttpReply pageOf(const tq::site::DeviceSpec& device)
{
    HttpReply reply;
    reply.type = "text/html; charset=utf-8";
    reply.body = QStringLiteral("<!DOCTYPE html>\n<html><head><title>%1</title></head>"
                                "<body><h1>%1</h1></body></html>\n")
                     .arg(device.title.toHtmlEscaped())
                     .toUtf8();
    return reply;
}

} // namespace lab
