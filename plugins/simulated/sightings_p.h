// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "simulated/site/site.h"

#include <QHostAddress>
#include <QList>

namespace tq {

/** One report of a simulated scanner. */
struct Sighting
{
    enum EKind { eNew, eChanged, eGone };

    qint64 at = 0; ///< ms after the start
    EKind kind = eNew;
    qsizetype device = 0; ///< its place in the site
    QHostAddress address; ///< which the device has then

    bool operator==(const Sighting&) const = default;
};

/**
 * Returns all that a scanner sees of a site, in the order of the times; the same for the same site,
 * on every machine.
 *
 * A device without a time appears within the first 5 s, at a time drawn from the site's seed that
 * no other device's times change. One that is reported several times is so every second. Nothing is
 * seen of a device before it has appeared and after it has vanished.
 */
QList<Sighting> sightingsOf(const site::Site& site);

} // namespace tq
