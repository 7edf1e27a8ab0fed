// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/dnssd/dnssdscanner.h"

#include "scanners/dnssd/servicewatch_p.h"

#include "discovery/nodehintfrombonjour.h"

#include "platform/pluginloader.h"

namespace tq {

DnsSdScanner::DnsSdScanner() : m_watch(std::make_unique<ServiceWatch>())
{
    const auto tell = [this](const ServiceTable::Event& event) {
        NodeHintFromBonjour hint(event.info);
        hint.setName(event.info.serviceName);
        report<ServiceTable>(event.kind, hint);
    };
    QObject::connect(m_watch.get(), &ServiceWatch::happened, this, tell);
}

DnsSdScanner::~DnsSdScanner() = default;

void DnsSdScanner::start(unsigned int, int)
{
    if (m_watch->isRunning())
        return;
    m_watch->start(
        serviceTypes(plugin::Loader::instance().option(QStringLiteral("dnssd/serviceTypes"))));
}

void DnsSdScanner::stop()
{
    m_watch->stop();
}

bool DnsSdScanner::isRunning() const
{
    return m_watch->isRunning();
}

QString DnsSdScanner::scannerName() const
{
    return QStringLiteral("dnssd");
}

} // namespace tq
