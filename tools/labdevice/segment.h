// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace tq::site {
struct DeviceSpec;
}

namespace lab {

/**
 * The devices' interfaces on the lab's segment, one each on top of one link, with routes of their
 * own: what a device sends leaves by its own MAC. Works through the program ip. Every function
 * returns what went wrong, empty when nothing did.
 */
class Segment
{
public:
    /** @p link is the interface below all others. */
    explicit Segment(const QString& link) : m_link(link) { }

    /** Returns the name of the interface of the device with the given place in the site. */
    static QString linkOf(int place) { return QStringLiteral("mc%1").arg(place); }

    /** Makes the interface of the device with the given place in the site. */
    [[nodiscard]] QString add(int place, const tq::site::DeviceSpec& device) const;

    /** Gives the device another address; it is on the segment again after plug(). */
    [[nodiscard]] QString replaceAddress(
        int place, const QString& old, const QString& address) const;

    /** Takes the device off the segment. */
    [[nodiscard]] QString unplug(int place) const;

    /** Brings it back, or leaves it there. */
    [[nodiscard]] QString plug(int place) const;

private:
    QString m_link;
};

} // namespace lab
