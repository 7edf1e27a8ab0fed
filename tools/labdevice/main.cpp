// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/certificate.h"
#include "labdevice/control.h"
#include "labdevice/lab.h"
#include "labdevice/population.h"
#include "labdevice/tell.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

#include <algorithm>

namespace {

const int k_failed = 1;
const int k_usage = 2;

int complain(const QString& text, int code)
{
    QTextStream(stderr) << "lab-device: " << text << '\n';
    return code;
}

void addOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QStringLiteral(
        "Answers for all devices of a site. tools/lab starts it in a network of its own."));
    parser.addHelpOption();
    const auto add = [&parser](const char* name, const char* what, const char* value = nullptr) {
        parser.addOption(QCommandLineOption(
            QLatin1String(name), QLatin1String(what), QLatin1String(value ? value : "")));
    };
    add("site", "Which devices", "FILE");
    add("devices", "How many of them", "N");
    add("list", "Print the devices and end");
    add("loopback", "Serve them on 127.0.77.x, ports 8080 and 8443");
    add("link", "Serve them on interfaces of their own on this one", "NAME");
    add("near", "The address that the devices speak to", "ADDRESS");
    add("bus", "Announce them by the Avahi on this D-Bus", "ADDRESS");
    add("smb-server", "Serve their shares by this program", "PROGRAM");
    add("shares", "Keep the shares in this folder", "FOLDER");
    add("needs", "Print which services the devices need, one per line");
    add("control", "Take commands on this unix socket", "PATH");
    add("tell", "Send a command to the lab around this process", "WORDS");
}

tq::site::Site askedSite(const QCommandLineParser& parser)
{
    tq::site::Site site = tq::site::readSite(parser.value(QStringLiteral("site")));
    if (!site.error.isEmpty())
        return site;
    const QString count = parser.value(QStringLiteral("devices"));
    if (!count.isEmpty() && (count.toInt() < 1 || !lab::resize(site, count.toInt())))
        site.error = QStringLiteral("\"%1\" devices are not possible: 1 to 253 are").arg(count);
    else if (!parser.isSet(QStringLiteral("list")))
        site.error = lab::refusalOf(site);
    if (parser.isSet(QStringLiteral("loopback")))
        lab::moveToLoopback(site);
    return site;
}

int list(const tq::site::Site& site)
{
    QTextStream out(stdout);
    for (const tq::site::DeviceSpec& device : site.devices)
        out << device.toString() << '\n';
    return 0;
}

int needs(const tq::site::Site& site)
{
    const auto any = [&site](const auto& isSo) {
        return std::any_of(site.devices.begin(), site.devices.end(), isSo);
    };
    const bool announced =
        any([](const tq::site::DeviceSpec& device) { return !device.announces.isEmpty(); });
    const bool shared = any([](const tq::site::DeviceSpec& device) { return !!device.smb; });
    QTextStream(stdout) << (announced ? "avahi\n" : "") << (shared ? "smb\n" : "");
    return 0;
}

int serve(const QCommandLineParser& parser, const tq::site::Site& site)
{
    std::optional<QSslConfiguration> certificate{ QSslConfiguration() };
    if (std::any_of(
            site.devices.begin(), site.devices.end(), [](const tq::site::DeviceSpec& device) {
                return device.answers == tq::site::AnswerHttps;
            }))
        certificate = lab::makeCertificate();
    if (!certificate)
        return k_failed;
    lab::Lab lab(site, *certificate,
        { parser.value(QStringLiteral("link")), QHostAddress(parser.value(QStringLiteral("near"))),
            parser.value(QStringLiteral("bus")), parser.value(QStringLiteral("smb-server")),
            parser.value(QStringLiteral("shares")) });
    lab::Control control(lab);
    if (parser.isSet(QStringLiteral("control"))) {
        const QString error = control.listen(parser.value(QStringLiteral("control")));
        if (!error.isEmpty())
            return complain(error, k_failed);
    }
    const auto report = [&lab](const QString& error) {
        if (!error.isEmpty())
            return QCoreApplication::exit(complain(error, k_failed));
        QTextStream(stdout) << lab.list() << lab.leftOut() << "ready\n";
    };
    QMetaObject::invokeMethod(
        &lab, [&lab, &report] { lab.startAll(report); }, Qt::QueuedConnection);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    addOptions(parser);
    parser.process(application);
    if (parser.isSet(QStringLiteral("tell")))
        return lab::tell(parser.value(QStringLiteral("tell")));
    const tq::site::Site site = askedSite(parser);
    if (!site.error.isEmpty())
        return complain(site.error, k_usage);
    if (parser.isSet(QStringLiteral("list")))
        return list(site);
    if (parser.isSet(QStringLiteral("needs")))
        return needs(site);
    if (parser.isSet(QStringLiteral("loopback")) == parser.isSet(QStringLiteral("link")))
        return complain(QStringLiteral("one of --loopback and --link is needed"), k_usage);
    return serve(parser, site);
}
