// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/deviceprobe_p.h"

#include "drivers/ipcamera/weburl_p.h"

namespace tq {

namespace {

constexpr int k_deadline = 2000; ///< ms, for everything

} // namespace

QString usualServicePath()
{
    return QStringLiteral("/onvif/device_service");
}

DeviceProbe::DeviceProbe(const Target& target, QObject* parent)
    : QObject(parent)
    , m_target(target)
    , m_web(new WebProbe(target.host, target.endpoints, target.proxy, this))
{
    m_deadline.setSingleShot(true);
    QObject::connect(&m_deadline, &QTimer::timeout, this, &DeviceProbe::giveUp);
    QObject::connect(m_web, &WebProbe::finished, this, &DeviceProbe::takePage);
}

void DeviceProbe::start()
{
    m_deadline.start(k_deadline);
    if (!m_target.service.isEmpty())
        askOnvif(m_target.service);
    m_web->start();
}

EProbeRejection DeviceProbe::rejection() const
{
    return m_onvif ? std::max(m_web->rejection(), m_onvif->rejection()) : m_web->rejection();
}

void DeviceProbe::takePage(const std::optional<WebProbe::Answer>& page)
{
    m_isWebDone = true;
    m_page = page;
    if (page && !m_onvif && m_deadline.isActive())
        askOnvif(webUrl(m_target.host, page->endpoint, usualServicePath()));
    finishIfDone();
}

void DeviceProbe::askOnvif(const QUrl& service)
{
    const OnvifClient::Target target{ m_target.host, service, m_target.proxy, {} };
    m_isOnvifDone = false;
    m_onvif = new OnvifClient(target, this);
    QObject::connect(m_onvif, &OnvifClient::finished, this, [this] {
        m_isOnvifDone = true;
        finishIfDone();
    });
    m_onvif->ask({ eOnvifDateAndTime, eOnvifReference, eOnvifInformation, eOnvifInterfaces });
}

void DeviceProbe::giveUp()
{
    if (!m_isOnvifDone)
        m_onvif->giveUp();
    if (!m_isWebDone)
        m_web->giveUp();
}

void DeviceProbe::finishIfDone()
{
    if (!m_isWebDone || !m_isOnvifDone)
        return;
    m_deadline.stop();
    const bool speaksOnvif = m_onvif && m_onvif->hasAnswered();
    if (!m_page && !speaksOnvif) {
        emit finished(std::nullopt);
        return;
    }
    const auto page = m_page.value_or(WebProbe::Answer());
    DeviceAnswer answer{ page.endpoint, page.server, page.title, speaksOnvif, {} };
    if (speaksOnvif) {
        answer.endpoint = endpointOf(m_onvif->service());
        answer.onvif = m_onvif->facts();
    }
    emit finished(answer);
}

} // namespace tq
