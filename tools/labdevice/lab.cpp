// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/lab.h"

#include "labdevice/greeting.h"

#include <QStringList>

namespace lab {

namespace {

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
        m_entries.back().services = std::make_unique<Services>(spec, place);
    }
    if (!place.link.isEmpty())
        m_segment.emplace(place.link);
}

Lab::~Lab() = default;

void Lab::startAll(const Done& done)
{
    const Done part = Gathering::make(m_entries.size(), done);
    for (int place = 0; place < static_cast<int>(m_entries.size()); ++place) {
        const tq::site::DeviceSpec& spec = at(place).device->spec();
        const QString error = m_segment ? m_segment->add(place, spec) : QString();
        if (error.isEmpty())
            listenAndSpeak(place, part);
        else
            part(error);
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
    at(place).services->leave([this, place, done](const QString& error) {
        const QString fault = close(place);
        done(error.isEmpty() ? fault : error);
    });
}

QString Lab::close(int place)
{
    // Off the segment first: who is connected must not hear that the connection ends.
    const QString error = m_segment ? m_segment->unplug(place) : QString();
    at(place).device->close();
    at(place).services->close();
    at(place).running = false;
    return error;
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
    if (error.isEmpty() && at(place).running)
        return start(name, done);
    done(error);
}

QString Lab::move(int place, const QHostAddress& address)
{
    Entry& entry = at(place);
    Device& device = *entry.device;
    const QString old = device.spec().address.toString();
    device.close();
    entry.services->close();
    device.setAddress(address);
    return m_segment ? m_segment->replaceAddress(place, old, address.toString()) : QString();
}

Lab::Entry* Lab::running(const QString& name, const Done& done)
{
    const int place = placeOf(name);
    if (place >= 0 && at(place).running)
        return &at(place);
    done(place < 0 ? unknown(name) : QStringLiteral("%1 is stopped").arg(name));
    return nullptr;
}

void Lab::announce(const QString& name, const Done& done)
{
    if (const Entry* entry = running(name, done))
        entry->services->announce(entry->device->spec(), done);
}

void Lab::withdraw(const QString& name, const Done& done)
{
    if (const Entry* entry = running(name, done))
        entry->services->withdraw(done);
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
    for (const Entry& entry : m_entries)
        text += m_segment ? QString() : Services::leftOut(entry.device->spec());
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
    Entry& entry = at(place);
    QString error = entry.device->listen();
    if (error.isEmpty() && m_segment)
        error = entry.services->listen(entry.device->spec(), Segment::linkOf(place));
    entry.running = error.isEmpty();
    return error;
}

void Lab::listenAndSpeak(int place, const Done& done)
{
    const QString error = open(place);
    if (!m_segment || !error.isEmpty())
        return done(error);
    Greeting::send(at(place).device->spec().address, m_near, [this, place, done](bool heard) {
        const Entry& entry = at(place);
        const tq::site::DeviceSpec& spec = entry.device->spec();
        if (heard)
            entry.services->come(spec, done);
        else
            done(QStringLiteral("%1 is not heard on the near side").arg(spec.name));
    });
}

} // namespace lab
