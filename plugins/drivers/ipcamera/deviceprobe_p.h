// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "drivers/ipcamera/onvifclient_p.h"
#include "drivers/ipcamera/webprobe_p.h"

#include <QTimer>

namespace tq {

/** What a device said when it was probed. */
struct DeviceAnswer
{
    Endpoint endpoint; ///< of its ONVIF service, else of its page
    QString server; ///< as in WebProbe::Answer, both
    QString title;
    bool speaksOnvif = false;
    OnvifFacts onvif; ///< as far as it is told to us
};

/**
 * Finds out, in 2 s at most and without blocking, whether a device answers over HTTP or HTTPS,
 * whether it speaks ONVIF, and what it says of itself.
 *
 * A service that the hint names is asked together with the page, the usual path after the page. No
 * login is sent: what a device is known by must not depend on one.
 */
class DeviceProbe : public QObject
{
    Q_OBJECT

public:
    struct Target
    {
        QString host;
        QList<Endpoint> endpoints; ///< one at least
        QUrl service; ///< on the same host; empty: not known
        QNetworkProxy proxy{ QNetworkProxy::NoProxy };
    };

    DeviceProbe(const Target& target, QObject* parent);

    void start();

    /** Returns, when it finished without an answer, why. */
    EProbeRejection rejection() const;

signals:
    /** Emitted once, never from start(). Nothing: there was no answer. */
    void finished(const std::optional<tq::DeviceAnswer>& answer);

private:
    void takePage(const std::optional<WebProbe::Answer>& page);
    void askOnvif(const QUrl& service);
    void giveUp();
    void finishIfDone();

    Target m_target;
    QTimer m_deadline;
    WebProbe* m_web; ///< a child, as the next
    OnvifClient* m_onvif = nullptr;
    bool m_isWebDone = false;
    bool m_isOnvifDone = true;
    std::optional<WebProbe::Answer> m_page;
};

/** Returns the path of the device service where nobody names another. */
QString usualServicePath();

} // namespace tq
