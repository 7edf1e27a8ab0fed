// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/dnssd/servicerecord_p.h"

#include <array>
#include <tuple>

#include <avahi-common/domain.h>
#include <avahi-common/strlst.h>

namespace tq {

namespace {

constexpr qsizetype k_mostTexts = 64;
constexpr qsizetype k_mostTextBytes = 1300;

/** The value of the first text with one of these keys; case does not matter in keys. */
QString valueOf(const QList<QString>& texts, std::initializer_list<QLatin1String> keys)
{
    for (const QLatin1String key : keys) {
        for (const QString& text : texts) {
            const qsizetype mark = text.indexOf(QLatin1Char('='));
            if (mark > 0 && text.left(mark).compare(key, Qt::CaseInsensitive) == 0)
                return text.mid(mark + 1);
        }
    }
    return QString();
}

/** A device's own address; zeros and group addresses, which would be many devices', are none. */
MACAddress ownMac(const QString& text)
{
    const MACAddress mac(text);
    return mac.isOneDevices() ? mac : MACAddress();
}

QString escapedFullName(const ServiceKey& service)
{
    std::array<char, AVAHI_DOMAIN_NAME_MAX> buffer{};
    const int error = avahi_service_name_join(buffer.data(), buffer.size(),
        service.name.constData(), service.type.constData(), service.domain.constData());
    return error == 0 ? QString::fromUtf8(buffer.data()) : QString();
}

} // namespace

bool ServiceKey::operator<(const ServiceKey& other) const
{
    return std::tie(type, name, domain) < std::tie(other.type, other.name, other.domain);
}

bool Announcement::operator<(const Announcement& other) const
{
    return std::tie(service, place) < std::tie(other.service, other.place);
}

QList<QByteArray> boundedTexts(AvahiStringList* texts)
{
    QList<QByteArray> result;
    qsizetype bytes = 0;
    for (auto* entry = texts; entry; entry = avahi_string_list_get_next(entry)) {
        const auto size = qsizetype(avahi_string_list_get_size(entry));
        bytes += size;
        if (bytes > k_mostTextBytes || result.size() >= k_mostTexts)
            break;
        const auto* const text = reinterpret_cast<const char*>(avahi_string_list_get_text(entry));
        if (size > 0)
            result.append(QByteArray(text, size));
    }
    return result;
}

SServiceInfo serviceRecord(const ServiceKey& service, EServiceKind kind, int interfaceIndex,
    const Resolution& resolution, const QHostAddress& second)
{
    SServiceInfo info;
    info.serviceName = QString::fromUtf8(service.name);
    info.interfaceIndex = interfaceIndex;
    info.isAvailable = 1;
    info.isResolved = 1;
    info.serviceKind = kind;
    info.serviceType = QString::fromUtf8(service.type);
    info.domain = QString::fromUtf8(service.domain);
    info.hostName = QString::fromUtf8(resolution.hostName);
    for (const QByteArray& text : resolution.texts)
        info.texts.append(QString::fromUtf8(text));
    info.port = resolution.port;
    info.ipVersion = resolution.address.protocol() == QAbstractSocket::IPv4Protocol ? 4 : 6;
    info.address = resolution.address.toString();
    info.secondAddress = second.isNull() ? QString() : second.toString();
    info.fullName = escapedFullName(service);
    info.mac = ownMac(valueOf(info.texts, { QLatin1String("mac"), QLatin1String("macaddress") }));
    info.model = valueOf(info.texts, { QLatin1String("model") });
    info.serialNumber =
        valueOf(info.texts, { QLatin1String("serial"), QLatin1String("serialnumber") });
    info.path = valueOf(info.texts, { QLatin1String("path") });
    info.ssl = isSecureType(info.serviceType) ? 1 : 0;
    info.securePort = info.ssl != 0 ? info.port : quint16(0);
    return info;
}

} // namespace tq
