// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/invocation.h"

#include "discovery/inodedrivercomponent.h"
#include "discovery/inodescanner.h"
#include "nodestore/nodedb.h"

#include "platform/pluginloader.h"

#include <algorithm>

namespace tq::cli {

namespace {

/** Returns what is known of the components that listComponents() returns, in the same order. */
QList<plugin::ComponentInfo> usableComponents(const QString& interface)
{
    const auto& loader = plugin::Loader::instance();
    const QList<plugin::LoadError> errors = loader.loadErrors();
    QList<plugin::ComponentInfo> result;
    for (const plugin::ComponentInfo& info : loader.components()) {
        const bool hasFailed = std::any_of(errors.begin(), errors.end(),
            [&](const plugin::LoadError& error) { return error.path == info.origin; });
        if (info.interfaces.contains(interface) && !hasFailed)
            result.append(info);
    }
    return result;
}

QJsonObject item(const plugin::ComponentInfo& info, const QStringList& details)
{
    return { { text("Name"), info.name }, { text("Library"), info.origin },
        { text("Details"), QJsonArray::fromStringList(details) },
        { text("Options"), QJsonArray::fromStringList(info.options) } };
}

/** Prints the components, then what could not be used. */
Outcome report(Invocation& call, const QList<QJsonObject>& items, const QString& details)
{
    call.output().addItems(items,
        { { text("NAME"), text("Name") }, { details, text("Details") },
            { text("LIBRARY"), text("Library") } });
    for (const plugin::LoadError& error : plugin::Loader::instance().loadErrors()) {
        call.output().addItem({ { text("Library"), error.path }, { text("Error"), error.reason } });
        call.output().print(QStringLiteral("not usable: %1: %2").arg(error.path, error.reason));
        call.output().log().take(QStringLiteral("Cannot use plug-in %1: ").arg(error.path));
    }
    return Outcome::done();
}

Outcome drivers(Invocation& call)
{
    const NodeDB& database = call.database();
    const auto handles = plugin::Loader::instance().listComponents("tq::INodeDriverComponent");
    const auto infos = usableComponents(text("tq::INodeDriverComponent"));
    QList<QJsonObject> items;
    for (qsizetype i = 0; i < std::min(handles.size(), infos.size()); ++i) {
        const tqm::smart<INodeDriverComponent> driver = handles[i];
        QStringList types;
        for (const auto& [type, name] : database.readableNodeTypeNames()) {
            if (database.nodeDriver(type) == driver)
                types.append(QStringLiteral("%1 %2").arg(int(type)).arg(name));
        }
        items.append(item(infos[i], types));
    }
    return report(call, items, text("NODE TYPES"));
}

Outcome scanners(Invocation& call)
{
    call.session(); // finds the plug-ins
    const auto handles = plugin::Loader::instance().listComponents("INodeScanner");
    const auto infos = usableComponents(text("INodeScanner"));
    QList<QJsonObject> items;
    for (qsizetype i = 0; i < std::min(handles.size(), infos.size()); ++i) {
        if (!tqm::smart<INodeScanner>(handles[i]).null())
            items.append(item(infos[i], infos[i].capabilities));
    }
    return report(call, items, text("CAPABILITIES"));
}

} // namespace

QList<Command> componentCommands()
{
    return { { text("drivers"), QString(), text("List the node drivers."), 0, 0, {}, drivers },
        { text("scanners"), QString(), text("List the scanners."), 0, 0, {}, scanners } };
}

} // namespace tq::cli
