// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "plugins/onvifdevice.h"

#include "shared/servicerecord.h"

#include <QCryptographicHash>

namespace tst {

namespace {

const QByteArray k_realm = "gate, north";
constexpr int k_hexadecimal = 16;

QByteArray response(const QByteArray& name, const QByteArray& content)
{
    return envelope("<d:" + name + " xmlns:d=\"http://www.onvif.org/ver10/device/wsdl\" "
        + "xmlns:t=\"http://www.onvif.org/ver10/schema\">" + content + "</d:" + name + ">");
}

QByteArray networkInterface(const QByteArray& mac, const QByteArray& address)
{
    return "<d:NetworkInterfaces><t:Enabled>true</t:Enabled><t:Info><t:HwAddress>" + mac
        + "</t:HwAddress></t:Info><t:IPv4><t:Config><t:Manual><t:Address>" + address
        + "</t:Address></t:Manual></t:Config></t:IPv4></d:NetworkInterfaces>";
}

QByteArray md5(const QByteArray& text)
{
    return QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex();
}

/** Returns a parameter of a login, without its quotes. */
QByteArray parameter(const QByteArray& login, const QByteArray& name)
{
    const qsizetype begin = login.indexOf(' ' + name + '=') + name.size() + 2;
    const bool isQuoted = login.mid(begin).startsWith('"');
    const qsizetype end = login.indexOf(isQuoted ? '"' : ',', begin + 1);
    return login.mid(begin, end - begin).replace('"', "");
}

} // namespace

tq::NodeHintFromBonjour announcementOf(const WebDevice& device)
{
    tq::SServiceInfo record = serviceRecord(
        device.serverAddress().toString(), "_http._tcp", device.serverPort(), "Front door");
    record.serviceKind = 1;
    record.fullName.clear(); // several devices announce themselves so
    record.model = QStringLiteral("X1");
    return tq::NodeHintFromBonjour(record);
}

QString urlOf(const WebDevice& device, const char* path)
{
    return QStringLiteral("http://%1:%2%3")
        .arg(device.serverAddress().toString())
        .arg(device.serverPort())
        .arg(QLatin1String(path));
}

OnvifManner locked()
{
    OnvifManner manner;
    manner.user = "root";
    manner.password = "secret";
    return manner;
}

QByteArray soapAnswer(const QByteArray& body, const QByteArray& head)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: application/soap+xml\r\n" + head + "\r\n" + body;
}

QByteArray envelope(const QByteArray& content)
{
    return "<?xml version=\"1.0\"?><e:Envelope xmlns:e=\"http://www.w3.org/2003/05/soap-envelope\">"
           "<e:Header/><e:Body>"
        + content + "</e:Body></e:Envelope>";
}

QByteArray dateAndTime()
{
    return response("GetSystemDateAndTimeResponse", "<d:SystemDateAndTime/>");
}

OnvifDevice::OnvifDevice(const OnvifManner& how, EManner web, const QString& address)
    : WebDevice([this](const WebRequest& request) { return choose(request); }, web, address)
    , manner(how)
{
}

std::optional<QByteArray> OnvifDevice::choose(const WebRequest& request)
{
    const QByteArray login = request.field("Authorization");
    if (!login.isEmpty())
        m_logins.append(login);
    if (request.method != "POST")
        return "HTTP/1.1 200 OK\r\nServer: TinyWeb/1.0\r\n\r\n<title>" + manner.page + "</title>";
    ++m_questions;
    if (manner.isSilent)
        return std::nullopt;
    if (!manner.redirect.isEmpty())
        return "HTTP/1.1 307 There\r\nLocation: " + manner.redirect + "\r\n\r\n";
    if (request.target != manner.path)
        return QByteArray("HTTP/1.1 404 No\r\n\r\n");
    const bool isReference = request.body.contains("GetEndpointReference");
    if (isReference && manner.reference.isEmpty())
        return QByteArray("HTTP/1.1 400 No\r\n\r\n");
    const bool isOpen =
        isReference || request.body.contains("GetSystemDateAndTime") || manner.user.isEmpty();
    if (isOpen)
        return soapAnswer(tell(request));
    if (!isRight(login))
        return challenge(false);
    return manner.staleNonces-- > 0 ? challenge(true) : soapAnswer(tell(request));
}

QByteArray OnvifDevice::challenge(bool isStale)
{
    m_count = 0;
    const QByteArray usual = "WWW-Authenticate: Basic realm=\"Digest nonce=1\"\r\n"
                             "WWW-Authenticate: Digest realm=\""
        + k_realm + "\", qop=\"auth-int, auth\", nonce=\"n" + QByteArray::number(++m_nonces)
        + "\", opaque=\"o\", stale=" + (isStale ? "TRUE" : "false") + "\r\n";
    return "HTTP/1.1 401 No\r\nContent-Length: 0\r\n"
        + (manner.challenges.isEmpty() ? usual : manner.challenges) + "\r\n";
}

bool OnvifDevice::isRight(const QByteArray& login)
{
    const QByteArray nonce = "n" + QByteArray::number(m_nonces);
    const QByteArray count = parameter(login, "nc");
    const bool isNext = count.toInt(nullptr, k_hexadecimal) == m_count + 1;
    const QByteArray expected =
        md5(md5(manner.user + ':' + k_realm + ':' + manner.password) + ':' + nonce + ':' + count
            + ':' + parameter(login, "cnonce") + ":auth:" + md5("POST:" + manner.path));
    if (!login.startsWith("Digest ") || !isNext || !login.contains("opaque=\"o\"")
        || parameter(login, "response") != expected)
        return false;
    ++m_count;
    return true;
}

QByteArray OnvifDevice::tell(const WebRequest& request) const
{
    if (request.body.contains("GetDeviceInformation"))
        return response("GetDeviceInformationResponse",
            "<d:Manufacturer>" + manner.manufacturer + "</d:Manufacturer><d:Model>" + manner.model
                + "</d:Model><d:FirmwareVersion>2.1.4</d:FirmwareVersion>"
                  "<d:SerialNumber>HG-0007</d:SerialNumber>");
    if (request.body.contains("GetEndpointReference"))
        return response(
            "GetEndpointReferenceResponse", "<d:GUID>" + manner.reference + "</d:GUID>");
    if (request.body.contains("GetNetworkInterfaces"))
        return response("GetNetworkInterfacesResponse",
            networkInterface("02:77:0a:4d:00:ff", "192.0.2.77")
                + networkInterface(manner.mac, serverAddress().toString().toLatin1()));
    return dateAndTime();
}

} // namespace tst
