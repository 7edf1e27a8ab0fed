// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/site/devicereader_p.h"

#include <algorithm>

namespace tq::site {

namespace {

const int k_longestList = 64;
const quint32 k_net = 0x0A4D0000; // 10.77.0.0/16; .1 of a segment is the near side
const quint32 k_netMask = 0xFFFF0000;
const quint32 k_firstHost = 2;
const quint32 k_lastHost = 254;
const int k_slow = 5000; // ms
const int k_late = 2000; // ms

QRegularExpression form(const char* pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(QString::fromLatin1(pattern)));
}

/** Reads a word of an enumeration; the first value is the default. */
template <typename Enum>
Enum readChoice(Fields& fields, const QString& key, std::initializer_list<Enum> values)
{
    QStringList words;
    for (const Enum value : values)
        words.append(nameOf(value));
    return *(values.begin() + fields.choice(key, words));
}

QString readName(Fields& fields, Taken& taken)
{
    static const QRegularExpression word = form("[\\w.-]{1,63}");
    const QString key = QStringLiteral("name");
    const QString name =
        fields.text(key, word, QStringLiteral("is not one word of at most 63 letters"));
    if (taken.names.contains(name))
        fields.refuse(key, QStringLiteral("is used twice"));
    taken.names.insert(name);
    return name;
}

QHostAddress readAddress(Fields& fields)
{
    const QString key = QStringLiteral("address");
    const QHostAddress address(fields.text(key).value_or(QString()));
    const quint32 number = address.toIPv4Address();
    const quint32 host = number & 0xFF;
    if ((number & k_netMask) != k_net || host < k_firstHost || host > k_lastHost)
        fields.refuse(key, QStringLiteral("is no host's in 10.77.0.0/16 from .2 to .254"));
    return address;
}

QHostAddress readOwnAddress(Fields& fields, const QString& name, Taken& taken)
{
    const QHostAddress address = readAddress(fields);
    const QString owner = taken.addresses.value(address.toIPv4Address());
    if (!owner.isEmpty())
        fields.refuse(QStringLiteral("address"), QStringLiteral("belongs to %1").arg(owner));
    taken.addresses.insert(address.toIPv4Address(), name);
    return address;
}

QString readMac(Fields& fields, const DeviceSpec& device, Taken& taken)
{
    // The second digit makes it locally administered and no group's.
    static const QRegularExpression own = form("[0-9a-f][26ae](:[0-9a-f]{2}){5}");
    const QString key = QStringLiteral("mac");
    const QString mac = fields.text(key).value_or(macOf(device.address)).toLower();
    if (!own.match(mac).hasMatch())
        fields.refuse(key, QStringLiteral("is no locally administered MAC"));
    const QString owner = taken.macs.value(mac);
    if (!owner.isEmpty())
        fields.refuse(key, QStringLiteral("belongs to %1").arg(owner));
    taken.macs.insert(mac, device.name);
    return mac;
}

QList<quint16> readPorts(Fields& fields, EAnswer answer)
{
    const auto port = fields.number(QStringLiteral("port"), 1, 65535);
    if (answer == AnswerRefuse)
        return {};
    if (port)
        return { static_cast<quint16>(*port) };
    if (answer == AnswerSilence)
        return { 80, 443 };
    return { static_cast<quint16>(answer == AnswerHttps ? 443 : 80) };
}

QList<Announcement> readAnnouncements(Fields& device)
{
    static const QRegularExpression type = form("_[A-Za-z0-9-]{1,15}\\._(tcp|udp)");
    QList<Announcement> result;
    const QString key = QStringLiteral("texts");
    for (Fields& fields : device.objects(QStringLiteral("announces"), k_longestList)) {
        fields.allow({ QStringLiteral("type"), QStringLiteral("port"), key });
        Announcement one;
        one.type = fields.text(
            QStringLiteral("type"), type, QStringLiteral("is no service type like _rtsp._tcp"));
        fields.require(QStringLiteral("port"));
        one.port =
            static_cast<quint16>(fields.number(QStringLiteral("port"), 1, 65535).value_or(0));
        one.texts = fields.texts(key, k_longestList);
        for (const QString& text : std::as_const(one.texts)) {
            if (text.isEmpty() || text.toUtf8().size() > 255)
                fields.refuse(key, QStringLiteral("holds a text that is not 1 to 255 bytes long"));
        }
        result.append(one);
    }
    return result;
}

std::optional<OnvifSpec> readOnvif(Fields& device, EAnswer answer)
{
    auto fields = device.object(QStringLiteral("onvif"));
    if (!fields)
        return std::nullopt;
    if (answer == AnswerRefuse || answer == AnswerSilence)
        device.refuse(QStringLiteral("onvif"), QStringLiteral("needs a web server that answers"));
    const QStringList keys{ QStringLiteral("manufacturer"), QStringLiteral("model"),
        QStringLiteral("firmware"), QStringLiteral("serial"), QStringLiteral("user"),
        QStringLiteral("password") };
    const QString discoverable = QStringLiteral("discoverable");
    fields->allow(keys + QStringList{ discoverable });
    QStringList texts;
    for (const QString& key : keys)
        texts.append(fields->text(key).value_or(QString()));
    return OnvifSpec{ texts.at(0), texts.at(1), texts.at(2), texts.at(3), texts.at(4), texts.at(5),
        fields->flag(discoverable) };
}

QList<SmbUser> readSmbUsers(Fields& smb)
{
    static const QRegularExpression word = form("[a-z][a-z0-9_-]{0,30}");
    static const QRegularExpression anything = form(".+");
    const QString key = QStringLiteral("name");
    QList<SmbUser> result;
    QSet<QString> taken;
    for (Fields& fields : smb.objects(QStringLiteral("users"), k_longestList)) {
        fields.allow({ key, QStringLiteral("password") });
        const QString name = fields.text(key, word, QStringLiteral("is no user's name"));
        if (taken.contains(name))
            fields.refuse(key, QStringLiteral("is used twice"));
        taken.insert(name);
        result.append({ name,
            fields.text(QStringLiteral("password"), anything, QStringLiteral("is empty")) });
    }
    return result;
}

void checkSmbRights(Fields& fields, const SmbShare& share, const QList<SmbUser>& users)
{
    const auto check = [&](const QString& key, const QStringList& names) {
        for (const QString& name : names) {
            const bool known = std::any_of(users.begin(), users.end(),
                [&name](const SmbUser& user) { return user.name == name; });
            if (!known)
                fields.refuse(key, QStringLiteral("names who is none of the users"));
            if (share.full.count(name) + share.readOnly.count(name) > 1)
                fields.refuse(key, QStringLiteral("names a user who stands there already"));
        }
    };
    check(QStringLiteral("full"), share.full);
    check(QStringLiteral("readOnly"), share.readOnly);
}

SmbShare readSmbShare(Fields& fields, const QList<SmbUser>& users)
{
    // Names that a folder may have, and that mean nothing else to a server.
    static const QRegularExpression shareName =
        form("(?!(?i:global|homes|printers)$)[A-Za-z0-9]([\\w -]{0,78}\\w)?");
    static const QRegularExpression fileName = form("[\\w][\\w. -]{0,99}");
    const QString files = QStringLiteral("files");
    SmbShare share;
    fields.allow(
        { QStringLiteral("name"), QStringLiteral("full"), QStringLiteral("readOnly"), files });
    share.name =
        fields.text(QStringLiteral("name"), shareName, QStringLiteral("is no share's name"));
    share.full = fields.texts(QStringLiteral("full"), k_longestList);
    share.readOnly = fields.texts(QStringLiteral("readOnly"), k_longestList);
    checkSmbRights(fields, share, users);
    share.files = fields.texts(files, k_longestList);
    for (const QString& file : std::as_const(share.files)) {
        if (!fileName.match(file).hasMatch())
            fields.refuse(files, QStringLiteral("holds what is no plain file name"));
    }
    return share;
}

std::optional<SmbSpec> readSmb(Fields& device)
{
    auto fields = device.object(QStringLiteral("smb"));
    if (!fields)
        return std::nullopt;
    fields->allow({ QStringLiteral("users"), QStringLiteral("shares") });
    SmbSpec smb;
    smb.users = readSmbUsers(*fields);
    QSet<QString> taken;
    for (Fields& one : fields->objects(QStringLiteral("shares"), k_longestList)) {
        const SmbShare share = readSmbShare(one, smb.users);
        if (taken.contains(share.name.toLower()))
            one.refuse(QStringLiteral("name"), QStringLiteral("is used twice"));
        taken.insert(share.name.toLower());
        smb.shares.append(share);
    }
    return smb;
}

Appearance readAppearance(Fields& device)
{
    Appearance result;
    auto fields = device.object(QStringLiteral("appears"));
    if (!fields)
        return result;
    fields->allow({ QStringLiteral("by"), QStringLiteral("at"), QStringLiteral("times") });
    result.by =
        readChoice(*fields, QStringLiteral("by"), { ByArp, ByDnssd, ByWsDiscovery, ByIpDevice });
    result.at = fields->seconds(QStringLiteral("at"));
    result.times = fields->number(QStringLiteral("times"), 1, 1000).value_or(result.times);
    return result;
}

QList<AddressChange> readChanges(Fields& device)
{
    QList<AddressChange> result;
    for (Fields& fields : device.objects(QStringLiteral("changes"), k_longestList)) {
        fields.allow({ QStringLiteral("at"), QStringLiteral("address") });
        fields.require(QStringLiteral("at"));
        // Whose address that may be at the time is not the file's matter.
        result.append({ fields.seconds(QStringLiteral("at")).value_or(0), readAddress(fields) });
    }
    std::stable_sort(result.begin(), result.end(),
        [](const AddressChange& left, const AddressChange& right) { return left.at < right.at; });
    return result;
}

} // namespace

DeviceSpec readDevice(Fields& fields, Taken& taken)
{
    fields.allow({ QStringLiteral("name"), QStringLiteral("kind"), QStringLiteral("address"),
        QStringLiteral("mac"), QStringLiteral("answers"), QStringLiteral("port"),
        QStringLiteral("server"), QStringLiteral("title"), QStringLiteral("delay"),
        QStringLiteral("announces"), QStringLiteral("onvif"), QStringLiteral("smb"),
        QStringLiteral("appears"), QStringLiteral("changes"), QStringLiteral("vanishes"),
        QStringLiteral("probe"), QStringLiteral("probeDelay") });
    DeviceSpec device;
    device.name = readName(fields, taken);
    device.kind = readChoice(
        fields, QStringLiteral("kind"), { KindCamera, KindStorage, KindRecording, KindOther });
    device.address = readOwnAddress(fields, device.name, taken);
    device.mac = readMac(fields, device, taken);
    device.answers = readChoice(fields, QStringLiteral("answers"),
        { AnswerHttp, AnswerHttps, AnswerSilence, AnswerRefuse, AnswerSlow });
    device.ports = readPorts(fields, device.answers);
    device.server = fields.text(QStringLiteral("server")).value_or(QString());
    device.title = fields.text(QStringLiteral("title")).value_or(device.name);
    const int usualDelay = device.answers == AnswerSlow ? k_slow : 0;
    device.delay = fields.seconds(QStringLiteral("delay")).value_or(usualDelay);
    device.announces = readAnnouncements(fields);
    device.onvif = readOnvif(fields, device.answers);
    device.smb = readSmb(fields);
    device.appears = readAppearance(fields);
    device.changes = readChanges(fields);
    device.vanishes = fields.seconds(QStringLiteral("vanishes"));
    device.probe = readChoice(fields, QStringLiteral("probe"),
        { ProbeAtOnce, ProbeLate, ProbeTwice, ProbeNever, ProbeRefused });
    const int usualAnswer = device.probe == ProbeLate ? k_late : 0;
    device.probeDelay = fields.seconds(QStringLiteral("probeDelay")).value_or(usualAnswer);
    return device;
}

} // namespace tq::site
