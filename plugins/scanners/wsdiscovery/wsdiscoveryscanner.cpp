// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/wsdiscovery/wsdiscoveryscanner.h"

#include "scanners/wsdiscovery/wswatch_p.h"

#include "discovery/nodehintipdevice.h"

#include "platform/pluginloader.h"

namespace tq {

namespace {

constexpr int k_shortestInterval = 10; ///< s
constexpr int k_longestInterval = 86400;

NodeHintIPDevice hintOf(const DeviceTable::Event& event)
{
    NodeHintIPDevice hint;
    hint.setName(event.name);
    hint.setHostAddress(event.place.address.toString());
    hint.setPort(event.place.port);
    hint.setSsl(event.place.ssl);
    hint.setSecondText(event.endpoint);
    hint.setThirdText(event.place.url);
    hint.setFurtherValue(eWSDiscoveryService);
    return hint;
}

} // namespace

WsDiscoveryScanner::WsDiscoveryScanner() : m_watch(std::make_unique<WsWatch>())
{
    const auto tell = [this](const DeviceTable::Event& event) {
        const NodeHintIPDevice hint = hintOf(event);
        report<DeviceTable>(event.kind, hint);
    };
    QObject::connect(m_watch.get(), &WsWatch::happened, this, tell);
}

WsDiscoveryScanner::~WsDiscoveryScanner() = default;

void WsDiscoveryScanner::start(unsigned int /*argument*/, int interval)
{
    const QString names =
        plugin::Loader::instance().option(QStringLiteral("wsdiscovery/interfaces"));
    if (!isRunning() && !m_watch->start(names.split(QLatin1Char(','), Qt::SkipEmptyParts)))
        return;
    m_watch->probe(interval > 0 ? qBound(k_shortestInterval, interval, k_longestInterval) : 0);
}

void WsDiscoveryScanner::stop()
{
    m_watch->stop();
}

bool WsDiscoveryScanner::isRunning() const
{
    return m_watch->isRunning();
}

QString WsDiscoveryScanner::scannerName() const
{
    return QStringLiteral("wsdiscovery");
}

} // namespace tq
