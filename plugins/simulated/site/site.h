// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tq::site {

/** What a device is. */
enum EKind { KindCamera, KindStorage, KindRecording, KindOther };

/** How a device's web server answers who connects to it. */
enum EAnswer {
    AnswerHttp,
    AnswerHttps,
    AnswerSilence, ///< takes the connection and never says a word
    AnswerRefuse, ///< nothing listens
    AnswerSlow ///< HTTP, but late
};

/** Which kind of hint a simulated device gives. */
enum EAppearance { ByArp, ByDnssd, ByWsDiscovery, ByIpDevice };

/** How the simulated driver answers for a device. */
enum EProbe {
    ProbeAtOnce,
    ProbeLate, ///< takes it, but late
    ProbeTwice, ///< takes it, and says so a second time
    ProbeNever, ///< never says a word
    ProbeRefused ///< says that it is none of its own
};

/** Returns the word that site files use. */
QString nameOf(EKind kind);
QString nameOf(EAnswer answer);
QString nameOf(EAppearance appearance);
QString nameOf(EProbe probe);

/** Returns the MAC of a device that names none: locally administered, made from its address. */
QString macOf(const QHostAddress& address);

/** A service that a device announces by DNS-SD, under the device's name. */
struct Announcement
{
    QString type; ///< "_rtsp._tcp"
    quint16 port = 0;
    QStringList texts; ///< of its TXT record, "key=value", at most 255 bytes each
};

/** What a device says by ONVIF, on the first port of its web server. */
struct OnvifSpec
{
    QString manufacturer;
    QString model;
    QString firmware;
    QString serial;
    QString user; ///< empty: it asks for no login
    QString password;
    bool discoverable = false; ///< by WS-Discovery
};

struct SmbUser
{
    QString name; ///< a small letter, then up to 30 small letters, digits, - or _
    QString password; ///< never empty
};

struct SmbShare
{
    QString name;
    QStringList full; ///< users who may read and write; each stands in one of the two lists only
    QStringList readOnly; ///< users who may read
    QStringList files; ///< plain names of files that lie in it
};

/** What a device offers by SMB, on port 445. */
struct SmbSpec
{
    QList<SmbUser> users;
    QList<SmbShare> shares;
};

/** How a simulated device is seen. */
struct Appearance
{
    EAppearance by = ByArp;
    std::optional<int> at; ///< ms after the start; none: the simulation draws it from the seed
    int times = 1; ///< how often it is reported, one after the other
};

struct AddressChange
{
    int at = 0; ///< ms after the start
    QHostAddress address;
};

/** What a site says of one device. Of the last four the lab takes no notice. */
struct DeviceSpec
{
    QString name;
    EKind kind = KindCamera;
    QHostAddress address;
    QString mac; ///< lower case, with colons
    EAnswer answers = AnswerHttp;
    QList<quint16> ports; ///< none for AnswerRefuse
    QString server; ///< the Server header, left out when empty
    QString title; ///< of the page
    int delay = 0; ///< ms before the answer
    QList<Announcement> announces;
    std::optional<OnvifSpec> onvif;
    std::optional<SmbSpec> smb;

    Appearance appears;
    QList<AddressChange> changes; ///< in the order of their times
    std::optional<int> vanishes; ///< ms after the start
    EProbe probe = ProbeAtOnce;
    int probeDelay = 0; ///< ms before the simulated driver's answer

    /** Returns one line for people and scripts: name, address, ports, MAC, answer. */
    QString toString() const;
};

/** The devices of a site, or a sentence that says what is wrong with its file. */
struct Site
{
    QString about;
    quint32 seed = 0; ///< of whatever a simulation draws at random
    QList<DeviceSpec> devices; ///< names, addresses and MACs are unique
    QString error; ///< one line, printable, at most some hundred characters; empty: all is well
};

/**
 * Reads a site file, whose form site.schema.json tells. Of a device only "name" and "address" are
 * needed. The defaults of the others:
 *
 * "seed" 1; "kind" camera; "mac" made from the address; "answers" http; "port" 80, 443 for https,
 * both for silence; "server" empty; "title" the name; "delay" (s) 5 for slow, else 0; "announces"
 * none, "texts" of one none; "onvif" none, of its texts empty, "discoverable" false; "smb" none, of
 * its lists empty; "appears" {"by": "arp", "times": 1}, "at" (s) drawn; "changes" none; "vanishes"
 * never; "probe" at once; "probeDelay" (s) 2 for late, else 0.
 *
 * Anything else is refused: a file above 16 MiB, more than 20,000 devices, an unknown key, a value
 * that is out of range or of the wrong type. The error names the first such thing: the device,
 * counted from 1, the key and the value. Any thread.
 */
Site readSite(const QString& path);

/** Returns what keeps @p address from joining @p others on their segment (10.77.0.0/24 when there
 * are none); empty when nothing does. */
QString refusalOf(const QHostAddress& address, const QList<DeviceSpec>& others);

} // namespace tq::site
