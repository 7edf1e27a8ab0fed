// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/lab.h"

#include "labdevice/greeting.h"

#include <QStringList>

namespace lab {

namespace {

/** Waits for several operations; the first error is the result of all. */
class Gathering
{
public:
    Gathering(size_t open, const Lab::Done& done) : m_open(open), m_done(done) { }

    void take(const QString& error)
    {
        if (m_error.isEmpty())
            m_error = error;
        if (--m_open == 0)
            m_done(m_error);
    }

private:
    size_t m_open;
    Lab::Done m_done;
    QString m_error;
};

QString unknown(const QString& name)
{
    return QStringLiteral("there is no device \"%1\"").arg(name);
}

} // namespace

Lab::Lab(const tq::site::Site& site, const QSslConfiguration& certificate, const Place& place)
    : m_near(place.near)
{
    for (const tq::site::DeviceSpec& spec : site.devices) {
        m_entries.emplace_back();
        m_entries.back().device = std::make_unique<Device>(spec, certificate);
    }
    if (!place.link.isEmpty())
        m_segment.emplace(place.link);
}

Lab::~Lab() = default;

void Lab::startAll(const Done& done)
{
    const auto gathering = std::make_shared<Gathering>(m_entries.size(), done);
    for (int place = 0; place < static_cast<int>(m_entries.size()); ++place) {
        const tq::site::DeviceSpec& spec = m_entries[static_cast<size_t>(place)].device->spec();
        const QString error = m_segment ? m_segment->add(place, spec) : QString();
        if (error.isEmpty())
            listenAndSpeak(place, [gathering](const QString& text) { gathering->take(text); });
        else
            gathering->take(error);
    }
}

void Lab::start(const QString& name, const Done& done)
{
    const int place = placeOf(name);
    if (place < 0)
        return done(unknown(name));
    const QString error = m_segment ? m_segment->plug(place) : QString();
    if (!error.isEmpty())
        return done(error);
    listenAndSpeak(place, done);
}

void Lab::stop(const QString& name, const Done& done)
{
    const int place = placeOf(name);
    if (place < 0)
        return done(unknown(name));
    Entry& entry = m_entries[static_cast<size_t>(place)];
    if (entry.discovery)
        entry.discovery->sayBye();
    entry.discovery.reset();
    // Off the segment first: who is connected must not hear that the connection ends.
    const QString error = m_segment ? m_segment->unplug(place) : QString();
    entry.device->close();
    entry.running = false;
    done(error);
}

void Lab::changeAddress(const QString& name, const QString& address, const Done& done)
{
    const int place = placeOf(name);
    if (place < 0)
        return done(unknown(name));
    QList<tq::site::DeviceSpec> all;
    for (const Entry& entry : m_entries)
        all.append(entry.device->spec());
    const QHostAddress wanted(address);
    const QString why = tq::site::refusalOf(wanted, all);
    if (!why.isEmpty())
        return done(QStringLiteral("\"%1\" %2").arg(address, why));
    const QString error = move(place, wanted);
    if (error.isEmpty() && m_entries[static_cast<size_t>(place)].running)
        return start(name, done);
    done(error);
}

QString Lab::move(int place, const QHostAddress& address)
{
    Entry& entry = m_entries[static_cast<size_t>(place)];
    Device& device = *entry.device;
    const QString old = device.spec().address.toString();
    entry.discovery.reset();
    device.close();
    device.setAddress(address);
    return m_segment ? m_segment->replaceAddress(place, old, address.toString()) : QString();
}

QString Lab::logins(const QString& name, QString* error) const
{
    const int place = placeOf(name);
    if (place >= 0)
        return m_entries[static_cast<size_t>(place)].device->logins().toString();
    *error = unknown(name);
    return QString();
}

QString Lab::leftOut() const
{
    QString text;
    for (const Entry& entry : m_entries) {
        const tq::site::DeviceSpec& spec = entry.device->spec();
        QStringList kinds;
        if (!spec.announces.isEmpty())
            kinds.append(QStringLiteral("DNS-SD"));
        if (spec.onvif && spec.onvif->discoverable)
            kinds.append(QStringLiteral("WS-Discovery"));
        if (spec.smb)
            kinds.append(QStringLiteral("SMB"));
        if (!m_segment && !kinds.isEmpty())
            text += QStringLiteral("%1 does without %2 on loopback\n")
                        .arg(spec.name, kinds.join(QStringLiteral(" and ")));
    }
    return text;
}

QString Lab::list() const
{
    QString text;
    for (const Entry& entry : m_entries)
        text += entry.device->spec().toString()
            + (entry.running ? QStringLiteral("\n") : QStringLiteral(" stopped\n"));
    return text;
}

int Lab::placeOf(const QString& name) const
{
    for (size_t place = 0; place < m_entries.size(); ++place) {
        if (m_entries[place].device->spec().name == name)
            return static_cast<int>(place);
    }
    return -1;
}

QString Lab::open(int place)
{
    Entry& entry = m_entries[static_cast<size_t>(place)];
    const tq::site::DeviceSpec& spec = entry.device->spec();
    QString error = entry.device->listen();
    ++entry.starts;
    if (error.isEmpty() && m_segment && spec.onvif && spec.onvif->discoverable) {
        entry.discovery = std::make_unique<WsDiscovery>(spec, entry.starts);
        error = entry.discovery->listen(Segment::linkOf(place));
    }
    entry.running = error.isEmpty();
    return error;
}

void Lab::listenAndSpeak(int place, const Done& done)
{
    const QString error = open(place);
    if (!m_segment || !error.isEmpty())
        return done(error);
    const QString silent = QStringLiteral("%1 is not heard on the near side");
    const auto welcome = [this, place, done, silent](bool heard) {
        const Entry& entry = m_entries[static_cast<size_t>(place)];
        if (heard && entry.discovery)
            entry.discovery->sayHello();
        done(heard ? QString() : silent.arg(entry.device->spec().name));
    };
    Greeting::send(m_entries[static_cast<size_t>(place)].device->spec().address, m_near, welcome);
}

} // namespace lab
