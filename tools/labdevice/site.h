// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>

namespace lab {

/** How a device answers who connects to it. */
enum EAnswer {
    AnswerHttp,
    AnswerHttps,
    AnswerSilence, ///< takes the connection and never says a word
    AnswerRefuse, ///< nothing listens
    AnswerSlow ///< HTTP, but late
};

/** Returns the word that site files use for an answer. */
QString nameOf(EAnswer answer);

/** Returns the MAC of a device that names none: locally administered, made from its address. */
QString macOf(const QHostAddress& address);

/** What a site says of one device. */
struct DeviceSpec
{
    QString name;
    QHostAddress address;
    QString mac; ///< lower case, with colons
    EAnswer answers = AnswerHttp;
    QList<quint16> ports; ///< none for AnswerRefuse
    QString server; ///< the Server header, left out when empty
    QString title; ///< of the page
    int delay = 0; ///< ms before the answer

    /** Returns one line for people and scripts: name, address, ports, MAC, answer. */
    QString toString() const;
};

/** The devices of a site, or a sentence that says what is wrong with its file. */
struct Site
{
    QList<DeviceSpec> devices;
    QString error;
};

/**
 * Reads a site file: {"about": …, "devices": [{"name", "address", "answers", …}]}. Optional are
 * "mac" (default: made from the address), "port" (default: 80, 443 for https, both for silence),
 * "server", "title" (default: the name) and "delay" (s; default: 5 for slow, else 0).
 */
Site readSite(const QString& path);

/**
 * Keeps the first @p count devices of a site; more than it has are made after its pattern, with
 * names and addresses that are still free. False when the segment has no room for them.
 */
[[nodiscard]] bool resize(Site& site, int count);

/** Moves a site to 127.0.77.x, and ports below 1024 up by the nearest thousands: 8080, 8443. */
void moveToLoopback(Site& site);

/** Returns what keeps @p address from joining @p others on their segment; empty when nothing does.
 */
QString refusalOf(const QHostAddress& address, const QList<DeviceSpec>& others);

} // namespace lab
