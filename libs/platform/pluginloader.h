// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/component.h"
#include "platform/platform_export.h"
#include "platform/smart.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <string>

class QJsonObject;

namespace tq::plugin {

/** What is known of a component without loading it. */
struct ComponentInfo
{
    QString name;
    QStringList interfaces; ///< names of the interfaces it implements
    QStringList
        capabilities; ///< words by which applications choose among components of one interface
    QString origin; ///< the library's path; empty for components of this process
    QStringList options = {}; ///< keys of the options that it asks the loader for, ascending
};

/** A library or folder that could not be used. */
struct LoadError
{
    QString path;
    QString reason;
};

/**
 * The process-wide list of components.
 *
 * Components come from folders of shared libraries and from the process itself. A library's Qt
 * metadata has the interface id k_pluginId and an object {"name": …, "interfaces": […],
 * "capabilities": […], "options": {KEY: MEANING…}}; its root object must be an IComponent. A
 * library is loaded when it is first listed, and never unloaded. Libraries and folders that others
 * than their owner could write to are refused. Use it on one thread.
 */
class PLATFORM_EXPORT Loader
{
public:
    /** The capability that restricts nothing; the empty string does the same. */
    static const std::string k_ignoreCapabilities;

    /** The interface id that a library's Qt metadata must carry. */
    static const QString k_pluginId;

    static Loader& instance();
    ~Loader();
    Loader(const Loader&) = delete;
    Loader& operator=(const Loader&) = delete;

    /**
     * Adds every library in `folder`, in the order of file names, reading only their metadata. A
     * folder that does not exist or is not trusted, and libraries that are none of ours, become
     * load errors.
     */
    void addFolder(const QString& folder);

    /** Adds a component of this process. */
    void registerComponent(const ComponentInfo& info, const tqm::smart<IComponent>& component);

    /** Drops every component of that name. */
    void unregisterComponent(const QString& name);

    /**
     * Returns the components that declare `interfaceName` and, unless it is empty or
     * k_ignoreCapabilities, `capability`. The order is that in which they were added. Libraries
     * that fail to load now become load errors and are left out.
     */
    QList<tqm::smart<IComponent>> listComponents(
        const std::string& interfaceName, const std::string& capability = k_ignoreCapabilities);

    /** Returns what is known of all components, in their order, loading none. */
    QList<ComponentInfo> components() const;

    /**
     * Sets what a component asks for by `name`: "component/key", such as "dnssd/serviceTypes". The
     * program sets options before it starts the component; each declares its keys in its metadata.
     * clear() forgets them.
     */
    void setOption(const QString& name, const QString& value);

    /** Returns the option of that name; empty when it was not set. */
    QString option(const QString& name) const;

    /** Returns every failure since the last clear(), oldest first. Each was logged at level 2 as
     * well. */
    QList<LoadError> loadErrors() const;

    /** Forgets all components, options and errors. Objects of libraries are deleted with their last
     * handle.
     */
    void clear();

private:
    Loader();
    void addLibrary(const QString& path);
    void fail(const QString& path, const QString& reason);

    struct Entry;
    QList<std::shared_ptr<Entry>> m_entries;
    QList<LoadError> m_errors;
    QHash<QString, QString> m_options;
};

} // namespace tq::plugin
