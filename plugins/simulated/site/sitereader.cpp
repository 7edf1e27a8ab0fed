// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/site/devicereader_p.h"

#include <QFile>
#include <QJsonDocument>

namespace tq::site {

namespace {

const qint64 k_largestFile = 1 << 24;
const int k_mostDevices = 20000;
const int k_largestSeed = 2147483647;

void readDevices(Fields& fields, Site& site)
{
    Taken taken;
    for (Fields& one : fields.objects(QStringLiteral("devices"), k_mostDevices)) {
        if (!site.error.isEmpty())
            return;
        one.forgetPath(); // the device's number stands for it
        site.devices.append(readDevice(one, taken));
        if (!site.error.isEmpty())
            site.error.prepend(QStringLiteral("device %1: ").arg(site.devices.size()));
    }
    if (site.devices.isEmpty() && site.error.isEmpty())
        site.error = QStringLiteral("it has no \"devices\"");
}

void readDocument(const QByteArray& bytes, Site& site)
{
    QJsonParseError fault;
    const QJsonDocument json = QJsonDocument::fromJson(bytes, &fault);
    if (fault.error != QJsonParseError::NoError) {
        site.error = QStringLiteral("%1 at byte %2").arg(fault.errorString()).arg(fault.offset);
        return;
    }
    if (!json.isObject()) {
        site.error = QStringLiteral("it is no object");
        return;
    }
    Fields fields(json.object(), &site.error);
    fields.allow({ QStringLiteral("about"), QStringLiteral("seed"), QStringLiteral("devices") });
    site.about = fields.text(QStringLiteral("about")).value_or(QString());
    site.seed =
        static_cast<quint32>(fields.number(QStringLiteral("seed"), 1, k_largestSeed).value_or(1));
    readDevices(fields, site);
}

} // namespace

Site readSite(const QString& path)
{
    Site site;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        site.error = file.errorString();
    } else {
        const QByteArray bytes = file.read(k_largestFile + 1);
        if (bytes.size() > k_largestFile)
            site.error = QStringLiteral("it is larger than 16 MiB");
        else
            readDocument(bytes, site);
    }
    if (!site.error.isEmpty())
        site.error.prepend(QStringLiteral("site file %1: ").arg(path));
    return site;
}

} // namespace tq::site
