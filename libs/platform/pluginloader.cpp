// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/pluginloader.h"

#include "platform/logline.h"
#include "platform/plugincall.h"
#include "platform/trustedpath_p.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>
#include <QThread>

namespace tq::plugin {

const std::string Loader::k_ignoreCapabilities = "*";
const QString Loader::k_pluginId = QStringLiteral("tq.plugin.Component/1");

struct Loader::Entry
{
    ComponentInfo info;
    tqm::smart<IComponent> component;
    bool failed = false;
};

namespace {

QStringList strings(const QJsonValue& value)
{
    QStringList result;
    for (const QJsonValue& element : value.toArray())
        result.append(element.toString());
    return result;
}

ComponentInfo infoFrom(const QJsonObject& metaData, const QString& origin)
{
    ComponentInfo info;
    info.name = metaData[QStringLiteral("name")].toString(QFileInfo(origin).completeBaseName());
    info.interfaces = strings(metaData[QStringLiteral("interfaces")]);
    info.capabilities = strings(metaData[QStringLiteral("capabilities")]);
    info.options = metaData[QStringLiteral("options")].toObject().keys();
    info.origin = origin;
    return info;
}

/** Why a library with this Qt metadata cannot be a component; an empty text when it can. */
QString whyNoComponent(const QJsonObject& library)
{
    if (library.isEmpty())
        return QStringLiteral("it is no Qt plug-in of this build");
    if (library[QStringLiteral("IID")].toString() != Loader::k_pluginId)
        return QStringLiteral("its interface id is not ") + Loader::k_pluginId;
    const QJsonObject own = library[QStringLiteral("MetaData")].toObject();
    if (strings(own[QStringLiteral("interfaces")]).isEmpty())
        return QStringLiteral("its metadata names no interfaces");
    return QString();
}

/** Wraps a plug-in's root object, or gives a null handle when it is no component (the object is
 * deleted then). */
tqm::smart<IComponent> wrapRoot(QObject* root)
{
    const auto deleter = [root](IComponent*) {
        if (root->thread() == QThread::currentThread())
            delete root;
        else
            root->deleteLater();
    };
    IComponent* const component = dynamic_cast<IComponent*>(root);
    if (!component)
        delete root;
    return component ? tqm::smart<IComponent>(component, deleter) : tqm::smart<IComponent>();
}

/** Makes the library's component. On failure the handle is null and `reason` says why. */
tqm::smart<IComponent> loadLibrary(const QString& path, QString& reason)
{
    QPluginLoader library(path);
    library.setLoadHints(QLibrary::PreventUnloadHint | QLibrary::ResolveAllSymbolsHint);
    tqm::smart<IComponent> component;
    const auto thrown = thrownBy([&] {
        QObject* const root = library.instance();
        reason = root ? QStringLiteral("its root object is no component") : library.errorString();
        if (root)
            component = wrapRoot(root);
    });
    if (thrown)
        reason = QStringLiteral("making its root object threw: ") + *thrown;
    return component;
}

} // namespace

Loader& Loader::instance()
{
    // Never destroyed: components must not outlive the application object by accident; clear() lets
    // them go.
    static Loader* const loader = new Loader;
    return *loader;
}

Loader::Loader() = default;

Loader::~Loader() = default;

void Loader::addFolder(const QString& folder)
{
    const QDir dir(folder);
    if (!dir.exists())
        return fail(folder, QStringLiteral("there is no such folder"));
    const QString reason = whyNotTrusted(dir.absolutePath());
    if (!reason.isEmpty())
        return fail(folder, reason);
    for (const QString& name : dir.entryList(QDir::Files, QDir::Name)) {
        if (QLibrary::isLibrary(name))
            addLibrary(dir.absoluteFilePath(name));
    }
}

void Loader::addLibrary(const QString& path)
{
    QString reason = whyNotTrusted(path);
    if (!reason.isEmpty())
        return fail(path, reason);
    const QJsonObject metaData = QPluginLoader(path).metaData();
    reason = whyNoComponent(metaData);
    if (!reason.isEmpty())
        return fail(path, reason);
    const QJsonObject own = metaData[QStringLiteral("MetaData")].toObject();
    m_entries.append(std::make_shared<Entry>(Entry{ infoFrom(own, path), {}, false }));
}

void Loader::registerComponent(const ComponentInfo& info, const tqm::smart<IComponent>& component)
{
    m_entries.append(std::make_shared<Entry>(Entry{ info, component, false }));
}

void Loader::unregisterComponent(const QString& name)
{
    m_entries.removeIf([&](const auto& entry) { return entry->info.name == name; });
}

QList<tqm::smart<IComponent>> Loader::listComponents(
    const std::string& interfaceName, const std::string& capability)
{
    const bool anyCapability = capability.empty() || capability == k_ignoreCapabilities;
    const QString interface = QString::fromStdString(interfaceName);
    const QString wanted = QString::fromStdString(capability);
    QList<tqm::smart<IComponent>> result;
    // A copy: making a component may register others.
    const auto entries = m_entries;
    for (const auto& entry : entries) {
        if (!entry->info.interfaces.contains(interface))
            continue;
        if (!anyCapability && !entry->info.capabilities.contains(wanted))
            continue;
        if (entry->component.null() && !entry->failed && !entry->info.origin.isEmpty()) {
            QString reason;
            entry->component = loadLibrary(entry->info.origin, reason);
            entry->failed = entry->component.null();
            if (entry->failed)
                fail(entry->info.origin, reason);
        }
        if (!entry->component.null())
            result.append(entry->component);
    }
    return result;
}

QList<ComponentInfo> Loader::components() const
{
    QList<ComponentInfo> result;
    for (const auto& entry : m_entries)
        result.append(entry->info);
    return result;
}

void Loader::setOption(const QString& name, const QString& value)
{
    m_options.insert(name, value);
}

QString Loader::option(const QString& name) const
{
    return m_options.value(name);
}

QList<LoadError> Loader::loadErrors() const
{
    return m_errors;
}

void Loader::fail(const QString& path, const QString& reason)
{
    m_errors.append({ path, reason });
    logLine(Log::eSurvived, "Cannot use plug-in ", path, ": ", reason);
}

void Loader::clear()
{
    m_entries.clear();
    m_errors.clear();
    m_options.clear();
}

} // namespace tq::plugin
