// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/nodehintfrombonjour.h"
#include "plugins/webdevice.h"

#include <QList>

namespace tst {

/** What a device says over ONVIF, to whom, and how. */
struct OnvifManner
{
    QByteArray page = "Harbour gate"; ///< the title of its page
    QByteArray path = "/onvif/device_service";
    QByteArray manufacturer = "Harbour";
    QByteArray model = "Gatekeeper 7";
    QByteArray mac = "02:77:0A:4D:00:0B";
    QByteArray reference = {}; ///< its endpoint reference, for anybody; empty: it does not know
    QByteArray user = {}; ///< who is told more than the time; empty: anybody
    QByteArray password = {};
    QByteArray challenges = {}; ///< instead of the usual one for a digest: lines of a head
    int staleNonces = 0; ///< right logins that are refused for their age
    QByteArray redirect = {}; ///< where every question is sent on to
    bool isSilent = false; ///< to questions
};

/** A device on loopback with a page and an ONVIF service; it keeps what it gets of logins. */
class OnvifDevice : public WebDevice
{
    Q_OBJECT

public:
    explicit OnvifDevice(const OnvifManner& manner = {}, EManner web = ePlain,
        const QString& address = QStringLiteral("127.0.0.1"));

    /** The values of all Authorization fields that it got, whatever they were for. */
    QList<QByteArray> logins() const { return m_logins; }
    int questions() const { return m_questions; }

    OnvifManner manner;

private:
    std::optional<QByteArray> choose(const WebRequest& request);
    QByteArray challenge(bool isStale);
    bool isRight(const QByteArray& login);
    QByteArray tell(const WebRequest& request) const;

    QList<QByteArray> m_logins;
    int m_questions = 0;
    int m_nonces = 0;
    int m_count = 0; ///< uses of the last nonce
};

/** Returns a device that tells "root" with "secret" more than the time, and nobody else. */
OnvifManner locked();

/** Returns the hint of a DNS-SD record that calls the device a camera. */
tq::NodeHintFromBonjour announcementOf(const WebDevice& device);
QString urlOf(const WebDevice& device, const char* path);

/** Returns an answer with that body, as a device's web server words it. */
QByteArray soapAnswer(const QByteArray& body, const QByteArray& head = QByteArray());

/** Returns the SOAP message around `content`. */
QByteArray envelope(const QByteArray& content);

/** Returns the right answer to the question for date and time. */
QByteArray dateAndTime();

} // namespace tst
