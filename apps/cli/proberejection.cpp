// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/proberejection.h"

#include "cli/output.h"

#include "discovery/inodedrivercomponent.h"

#include "platform/pluginloader.h"

#include <algorithm>

namespace tq::cli {

namespace {

/** What follows the quoted address. */
QString predicate(EProbeRejection reason)
{
    const QString addUnasked = QStringLiteral("; --type 2 stores it as a camera without asking it");
    switch (reason) {
    case EProbeRejection::eTooMany:
        return QStringLiteral(" was not asked: too many other devices wait for that");
    case EProbeRejection::eNoProxy:
        return QStringLiteral(" is not reached through its proxy") + addUnasked;
    case EProbeRejection::eNoSuchHost:
        return QStringLiteral(" is the name of no host, as far as can be found out");
    case EProbeRejection::eNoRoute:
        return QStringLiteral(" cannot be reached: there is no route to it, or nobody has that "
                              "address")
            + addUnasked;
    case EProbeRejection::eSilent:
        return QStringLiteral(" is silent: it may be off, or behind a firewall") + addUnasked;
    case EProbeRejection::eSlow:
        return QStringLiteral(" takes the connection, but did not answer in time") + addUnasked;
    case EProbeRejection::eRefused:
        return QStringLiteral(" refuses the connection; --port names another port, and --type 2 "
                              "stores it as a camera without asking it");
    case EProbeRejection::eAnswered:
        return QStringLiteral(
            " answers, but not as a device that a driver recognises; --port names "
            "another port");
    case EProbeRejection::eUnknown:
    case EProbeRejection::eNotAsked:
        break;
    }
    return QString();
}

} // namespace

EProbeRejection rejectionOf(int requestId)
{
    auto reason = EProbeRejection::eUnknown;
    const auto drivers = plugin::Loader::instance().listComponents("tq::INodeDriverComponent");
    for (const tqm::smart<INodeDriverComponent> driver : drivers) {
        if (const auto* const explainer = dynamic_cast<const IProbeExplainer*>(driver.get()))
            reason = std::max(reason, explainer->rejection(requestId));
    }
    return reason;
}

QString rejectionText(EProbeRejection reason, const QString& address)
{
    const QString said = predicate(reason);
    return said.isEmpty()
        ? QStringLiteral("no driver recognises %1 as a device of its own").arg(quoted(address))
        : quoted(address) + said;
}

} // namespace tq::cli
