// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "lab/hostilemessages.h"

#include <QRandomGenerator>

namespace tst {

namespace {

constexpr int k_largestDatagram = 65507;
constexpr int k_manyMatches = 80; // of one message

QByteArray envelope(const QByteArray& header, const QByteArray& content)
{
    return "<s:Envelope xmlns:s='http://www.w3.org/2003/05/soap-envelope' "
           "xmlns:a='http://schemas.xmlsoap.org/ws/2004/08/addressing' "
           "xmlns='http://schemas.xmlsoap.org/ws/2005/04/discovery'><s:Header>"
        + header + "</s:Header><s:Body>" + content + "</s:Body></s:Envelope>";
}

/** `urls` are apart from each other by blanks; `name` is what its scope says. */
QByteArray device(
    const QByteArray& endpoint, const QByteArray& urls, const QByteArray& name = QByteArray())
{
    return "<a:EndpointReference><a:Address>" + endpoint
        + "</a:Address></a:EndpointReference><Scopes>onvif://www.onvif.org/name/" + name
        + "</Scopes><XAddrs>" + urls + "</XAddrs>";
}

QByteArray matches(const QByteArray& probe, const QByteArray& devices)
{
    return envelope(
        "<a:RelatesTo>" + probe + "</a:RelatesTo>", "<ProbeMatches>" + devices + "</ProbeMatches>");
}

QByteArray match(const QByteArray& probe, const QByteArray& device)
{
    return matches(probe, "<ProbeMatch>" + device + "</ProbeMatch>");
}

QByteArray manyMatches(const QByteArray& probe, const QByteArray& endpoint, const QByteArray& url)
{
    QByteArray devices;
    for (int i = 0; i < k_manyMatches; ++i)
        devices +=
            "<ProbeMatch>" + device(endpoint + "-" + QByteArray::number(i), url) + "</ProbeMatch>";
    return matches(probe, devices);
}

QByteArray announcement(const QByteArray& kind, const QByteArray& device)
{
    return envelope(QByteArray(), "<" + kind + ">" + device + "</" + kind + ">");
}

QByteArray noise(int number)
{
    QRandomGenerator random{ quint32(number) };
    QByteArray result(random.bounded(1, 1400), '\0');
    for (char& each : result)
        each = char(random.bounded(256));
    return result;
}

} // namespace

QList<HostileMessage> hostileMessages(
    int number, const QByteArray& probe, const QByteArray& address)
{
    const QByteArray endpoint = "urn:uuid:" + QByteArray::number(number);
    const QByteArray url = "http://" + address + ":" + QByteArray::number(1024 + number) + "/";
    const QByteArray good = match(probe, device(endpoint, url, "Gate"));
    const QByteArray escapes = "%1b]0;gate%07%0d%0anew%20%e2%80%ae%c2%9b2J%00%ff";
    const QByteArray marks = "\xe2\x80\xae\xe2\x81\xa6gate \xc2\x9b[2J";
    const QByteArray elsewhere = "http://192.0.2.7/ http://gate.invalid/ file:///etc/passwd ";
    const QByteArray large = "<!--" + QByteArray(k_largestDatagram - good.size() - 7, 'x') + "-->";
    return {
        { good, false },
        { match(probe, device(endpoint + "-e", url, escapes)), false },
        { match(probe, device(endpoint + "-l", url, QByteArray(3000, 'n'))), false },
        { match(probe, device(endpoint + "\x1b[2J\n", url)), false },
        { match(probe, device(QByteArray(3000, 'x'), url)), false },
        { manyMatches(probe, endpoint, url), false },
        { match("urn:uuid:" + QByteArray::number(number), device(endpoint, url)), false },
        { "<!DOCTYPE a [<!ENTITY b '" + QByteArray(900, 'b') + "'>]>" + good, false },
        { "<?xml version='1.0' encoding='\x1b]0;x\x07'?>" + good, false },
        { good + large, false },
        { announcement("Hello", device(endpoint + "-h", url, marks)), true },
        { announcement("Hello", device(endpoint + "-f", elsewhere, escapes)), true },
        { announcement("Hello", device(endpoint + "-a", QByteArray())), true },
        { announcement("Bye", device(endpoint, url)), true },
        { QByteArrayLiteral("<a>").repeated(10000), true },
        { noise(number), true },
    };
}

} // namespace tst
