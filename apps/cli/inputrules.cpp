// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/inputrules.h"

#include "cli/output.h"

#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"

#include "platform/logline.h"
#include "platform/macaddress.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <functional>

namespace tq::cli {

namespace {

bool isAddress(int family, const QString& text)
{
    in6_addr address{};
    return ::inet_pton(family, text.toUtf8().constData(), &address) == 1;
}

/** An address of version 6, with the zone that a link-local one needs. */
bool isAddress6(const QString& text)
{
    static const QRegularExpression zone(QStringLiteral("%[\\w.-]+$"));
    return isAddress(AF_INET6, QString(text).remove(zone));
}

bool isHostName(const QString& text)
{
    constexpr qsizetype k_longest = 253;
    static const QRegularExpression label(
        QStringLiteral("^[\\p{L}\\p{N}_]([\\p{L}\\p{N}_-]{0,61}[\\p{L}\\p{N}_])?$"));
    static const QRegularExpression number(
        QStringLiteral("^(\\d+|0x[0-9a-f]*)$"), QRegularExpression::CaseInsensitiveOption);
    QStringList labels = text.split(QLatin1Char('.'));
    if (labels.size() > 1 && labels.last().isEmpty())
        labels.removeLast(); // "host.example." is the whole name
    // Whose last part is a number would be an address, or be taken for a strange spelling of one.
    return text.size() <= k_longest && !number.match(labels.last()).hasMatch()
        && std::all_of(labels.cbegin(), labels.cend(),
            [](const QString& each) { return label.match(each).hasMatch(); });
}

QString wants(const QString& name, const QString& wanted, const QVariant& value)
{
    return QStringLiteral("%1 wants %2, not %3").arg(name, wanted, quoted(value.toString()));
}

QString rangeError(const QString& name, const QVariant& value, int least, int most)
{
    const double number = value.toDouble();
    return number >= least && number <= most
        ? QString()
        : wants(name, QStringLiteral("a number from %1 to %2").arg(least).arg(most), value);
}

QString optionalHostError(const QString& name, const QVariant& value)
{
    return value.toString().isEmpty() ? QString() : hostError(name, value.toString());
}

QString optionalPathError(const QString& name, const QVariant& value)
{
    return value.toString().isEmpty() ? QString() : recordingPathError(name, value.toString());
}

QString macError(const QString& name, const QVariant& value)
{
    const auto mac = MACAddress::parse(value.toString());
    return mac && (mac->isEmpty() || mac->isOneDevices())
        ? QString()
        : wants(name,
            QStringLiteral("the hardware address of one device, such as 00:11:22:aa:bb:cc"), value);
}

QString exceptionsError(const QString&, const QVariant& value)
{
    for (const QString& pattern : value.toStringList()) {
        const QString error = GlobalNetworkProxy::exceptionError(pattern);
        if (!error.isEmpty())
            return error;
    }
    return QString();
}

struct Rule
{
    QString name; ///< of a property or setting
    std::function<QString(const QString& name, const QVariant& value)> error;
};

QList<Rule> makeRules()
{
    const auto range = [](int least, int most) {
        return [least, most](const QString& name, const QVariant& value) {
            return rangeError(name, value, least, most);
        };
    };
    const auto port = range(1, k_highestPort);
    constexpr int k_mostPixels = 65535;
    constexpr int k_mostFrames = 1000; // per second
    constexpr int k_best = 100; // per cent
    const auto frames = [](const QString& name, const QVariant& value) {
        const QString wanted = QStringLiteral("a number above 0, up to %1").arg(k_mostFrames);
        const double number = value.toDouble();
        return number > 0 && number <= k_mostFrames ? QString() : wants(name, wanted, value);
    };
    const auto host = [](const QString& name, const QVariant& value) {
        return hostError(name, value.toString());
    };
    const auto nodeName = [](const QString&, const QVariant& value) {
        return nameError(QStringLiteral("node"), value.toString());
    };
    return {
        { text("Name"), nodeName },
        { text("IP"), host },
        { text("ProxyAddress"), optionalHostError },
        { text("TransponderIP"), optionalHostError },
        { text("Port"), port },
        { text("ProxyPort"), port },
        { text("TransponderPort"), port },
        { text("MAC"), macError },
        { text("RecordingFolderPath"), optionalPathError },
        { text("Exceptions"), exceptionsError },
        { text("TransponderFramerate"), frames },
        { text("TransponderQuality"), range(0, k_best) },
        { text("TransponderResolutionX"), range(1, k_mostPixels) },
        { text("TransponderResolutionY"), range(1, k_mostPixels) },
    };
}

} // namespace

QString hostError(const QString& what, const QString& text)
{
    if (text.contains(QLatin1Char(':')) ? isAddress6(text)
                                        : isAddress(AF_INET, text) || isHostName(text))
        return QString();
    return wants(what, QStringLiteral("a host name or an address without a port"), text);
}

QString nameError(const QString& what, const QString& name)
{
    const bool isName = !name.trimmed().isEmpty() && escapedForLog(name) == name;
    return isName ? QString() : nameRefusal(what, name);
}

QString nameRefusal(const QString& what, const QString& name)
{
    const bool startsWithVowel = QStringLiteral("aeiou").contains(what.left(1));
    return QStringLiteral("%1 %2 needs a name, not %3")
        .arg(startsWithVowel ? text("an") : text("a"), what, quoted(name));
}

QString recordingPathError(const QString& what, const QString& path)
{
    static const QRegularExpression elsewhere(
        QStringLiteral("^(\\\\\\\\|//)[^/\\\\]+[/\\\\][^/\\\\]+|^[A-Za-z]:[/\\\\]"));
    static const QRegularExpression url(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]+://"));
    constexpr qsizetype k_longest = 4096;
    const QString wanted = QStringLiteral("an absolute path, \\\\HOST\\SHARE or a URL");
    const bool isUrl = url.match(path).hasMatch() && QUrl(path, QUrl::StrictMode).isValid()
        && !QUrl(path).host().isEmpty();
    const bool isLocal = path.startsWith(QLatin1Char('/'));
    if (path.size() > k_longest || escapedForLog(path) != path
        || !(isUrl || isLocal || elsewhere.match(path).hasMatch()))
        return wants(what, wanted, path);
    // What is not there yet may be mounted or made later, but not below a file.
    for (QString each = path; isLocal && each.size() > 1; each = QFileInfo(each).path()) {
        const QFileInfo info(each);
        if (info.exists())
            return info.isDir() ? QString()
                                : QStringLiteral("%1 cannot be %2: %3 is no folder")
                                      .arg(what, quoted(path), quoted(each));
    }
    return QString();
}

QString nodeTypeError(const NodeDB& database, int type)
{
    QStringList known;
    for (const auto& [each, name] : database.readableNodeTypeNames()) {
        if (each == type)
            return QString();
        known.append(QStringLiteral("%1 (%2)").arg(int(each)).arg(name));
    }
    if (!database.nodeIdList(ENodeType(type)).isEmpty())
        return QString();
    return QStringLiteral(
        "there is no driver for the node type %1, and no such node; known are: %2")
        .arg(type)
        .arg(known.isEmpty() ? text("none") : known.join(text(", ")));
}

QString relationTypeError(int type, const QList<ENodeRelationType>& used)
{
    QList<ENodeRelationType> known{ eDeviceToRecordingFolder, eRecordingFolderToDevice };
    known += used;
    if (known.contains(ENodeRelationType(type)))
        return QString();
    return QStringLiteral("there is no relation type %1: %2 leads from a device to its recording "
                          "folder, %3 back")
        .arg(type)
        .arg(int(eDeviceToRecordingFolder))
        .arg(int(eRecordingFolderToDevice));
}

QString valueError(const QString& name, const QVariant& value)
{
    static const QList<Rule> rules = makeRules();
    for (const Rule& rule : rules) {
        if (rule.name == name)
            return rule.error(name, value);
    }
    return QString();
}

} // namespace tq::cli
