// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/dnssd/dnssdscanner.h"

#include "scanners/dnssd/servicewatch_p.h"

#include "discovery/nodehintfrombonjour.h"

#include "platform/pluginloader.h"

namespace tq {

DnsSdScanner::DnsSdScanner() : m_watch(std::make_unique<ServiceWatch>())
{
    const auto report = [this](const ServiceTable::Event& event) {
        NodeHintFromBonjour hint(event.info);
        hint.setName(event.info.serviceName);
        switch (event.kind) {
        case ServiceTable::eNew:
            emit newHint(hint);
            break;
        case ServiceTable::eChanged:
            emit hintChanged(hint);
            break;
        case ServiceTable::eGone:
            emit hintGone(hint);
            break;
        }
    };
    QObject::connect(m_watch.get(), &ServiceWatch::happened, this, report);
}

DnsSdScanner::~DnsSdScanner() = default;

IInterface* DnsSdScanner::getInterface(const std::string& name)
{
    if (name == "tq::IComponent")
        return static_cast<IComponent*>(this);
    return INodeScanner::getInterface(name);
}

const IInterface* DnsSdScanner::getInterface(const std::string& name) const
{
    return const_cast<DnsSdScanner*>(this)->getInterface(name);
}

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

QtSignal DnsSdScanner::newHintSignal()
{
    return QtSignal(this, SIGNAL(newHint(const tq::NodeHint&)));
}

QtSignal DnsSdScanner::hintChangedSignal()
{
    return QtSignal(this, SIGNAL(hintChanged(const tq::NodeHint&)));
}

QtSignal DnsSdScanner::hintGoneSignal()
{
    return QtSignal(this, SIGNAL(hintGone(const tq::NodeHint&)));
}

} // namespace tq
