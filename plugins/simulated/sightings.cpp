// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/sightings_p.h"

#include <algorithm>
#include <limits>
#include <random>

namespace tq {

namespace {

constexpr unsigned int k_window = 5000; // ms
constexpr int k_interval = 1000; // ms, between reports of one device

QHostAddress addressAt(const site::DeviceSpec& device, qint64 time)
{
    QHostAddress result = device.address;
    for (const site::AddressChange& change : device.changes) {
        if (change.at <= time)
            result = change.address;
    }
    return result;
}

void addSightings(QList<Sighting>& all, const site::DeviceSpec& device, qsizetype place, int drawn)
{
    const int first = device.appears.at.value_or(drawn);
    const int end = device.vanishes.value_or(std::numeric_limits<int>::max());
    const auto add = [&](qint64 at, Sighting::EKind kind) {
        all.append({ at, kind, place, addressAt(device, at) });
    };
    for (int i = 0; i < device.appears.times && first + i * k_interval < end; ++i)
        add(first + i * k_interval, Sighting::eNew);
    for (const site::AddressChange& change : device.changes) {
        if (change.at > first && change.at < end)
            add(change.at, Sighting::eChanged);
    }
    if (device.vanishes && end > first)
        add(end, Sighting::eGone);
}

} // namespace

QList<Sighting> sightingsOf(const site::Site& site)
{
    // The engine's numbers are the same everywhere; those of the standard distributions are not.
    std::mt19937 random(site.seed);
    QList<Sighting> result;
    for (qsizetype place = 0; place < site.devices.size(); ++place) {
        const int drawn = int(random() % k_window);
        addSightings(result, site.devices.at(place), place, drawn);
    }
    std::stable_sort(result.begin(), result.end(),
        [](const Sighting& left, const Sighting& right) { return left.at < right.at; });
    return result;
}

} // namespace tq
