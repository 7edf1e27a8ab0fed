// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/globalnetworkproxy.h"

#include "environments/exceptionpattern_p.h"

#include "platform/persistscope.h"
#include "platform/properties/properties.h"
#include "platform/properties/propertysetproperty.h"

#include <algorithm>

namespace tq {

namespace {

const QString k_array = QStringLiteral("Environment");
const QString k_environment = QStringLiteral("Key");
const QString k_exceptions = QStringLiteral("Exceptions");
const QString k_exception = QStringLiteral("CoreException");

void saveExceptions(IPersistDestination* target, const QStringList& exceptions)
{
    PersistWriteArray array(target, k_exceptions);
    for (const QString& pattern : exceptions) {
        array.next();
        target->setValue(k_exception, pattern);
    }
}

QStringList loadExceptions(IPersistDestination* source)
{
    return readPersistedEntries<QString>(source, k_exceptions, [&](QString& entry) {
        const QVariant pattern = source->value(k_exception, QVariant());
        entry = pattern.toString();
        return pattern.isValid();
    });
}

} // namespace

GlobalNetworkProxy::GlobalNetworkProxy() = default;

GlobalNetworkProxy::~GlobalNetworkProxy() = default;

QStringList GlobalNetworkProxy::exceptions() const
{
    return m_exceptions.value(activeEnvironment());
}

QString GlobalNetworkProxy::exceptionsAssembled(QChar separator) const
{
    return exceptions().join(separator);
}

void GlobalNetworkProxy::setExceptions(const QString& text, QChar separator)
{
    setExceptions(text.split(separator, Qt::KeepEmptyParts));
}

void GlobalNetworkProxy::setExceptions(const QStringList& list)
{
    m_exceptions[activeEnvironment()] = list;
    emit globalProxyDataChanged();
}

void GlobalNetworkProxy::addException(const QString& pattern)
{
    m_exceptions[activeEnvironment()].append(pattern);
    emit globalProxyDataChanged();
}

void GlobalNetworkProxy::removeException(const QString& pattern)
{
    if (exceptions().contains(pattern)) {
        m_exceptions[activeEnvironment()].removeAll(pattern);
        emit globalProxyDataChanged();
    }
}

bool GlobalNetworkProxy::checkException(const QString& address, const QString& pattern)
{
    return matchesException(address, pattern);
}

QString GlobalNetworkProxy::exceptionError(const QString& pattern)
{
    return reasonForNoMatch(pattern);
}

bool GlobalNetworkProxy::isAffectedFromExceptions(const QString& address) const
{
    const QStringList list = exceptions();
    return std::any_of(list.cbegin(), list.cend(),
        [&](const QString& pattern) { return checkException(address, pattern); });
}

void GlobalNetworkProxy::removeEnvironmentEntry(const EnvironmentID& id)
{
    NetworkProxy::removeEnvironmentEntry(id);
    m_exceptions.remove(id);
}

void GlobalNetworkProxy::copyFromActiveEnvironment(const EnvironmentID& id)
{
    NetworkProxy::copyFromActiveEnvironment(id);
    m_exceptions[id] = exceptions();
}

void GlobalNetworkProxy::save(IPersistDestination* target) const
{
    NetworkProxy::save(target);
    // The second array of this name in the group: its keys join the entries that the base wrote.
    PersistWriteArray array(target, k_array);
    for (const QString& id : environmentIds()) {
        array.next();
        target->setValue(k_environment, id);
        saveExceptions(target, m_exceptions.value(id));
    }
}

void GlobalNetworkProxy::load(IPersistDestination* source)
{
    NetworkProxy::load(source);
    using Entry = QPair<QString, QStringList>;
    const auto entries = readPersistedEntries<Entry>(source, k_array, [&](Entry& entry) {
        const QVariant key = source->value(k_environment, QVariant());
        entry = { key.toString(), loadExceptions(source) };
        return key.isValid() || !entry.second.isEmpty();
    });
    for (const Entry& entry : entries)
        m_exceptions[entry.first] = entry.second;
    if (entries.isEmpty())
        m_exceptions[activeEnvironment()] = loadExceptions(source);
}

void GlobalNetworkProxy::properties(tqgen::PropertySet& set) const
{
    NetworkProxy::properties(set);
    tqgen::PropertySet group;
    const QStringList list = exceptions();
    for (qsizetype i = 0; i < list.size(); ++i)
        group.emplace<tqgen::StringProperty>(
            k_exception + QString::number(i), tr("CoreException"), list.at(i));
    set.emplace<tqgen::PropertySetProperty>(
        k_exceptions, tr("Bypass proxy for these addresses"), group);
}

bool GlobalNetworkProxy::updateField(const tqgen::BaseProperty& property)
{
    if (NetworkProxy::updateField(property))
        return true;
    const auto* group = dynamic_cast<const tqgen::PropertySetProperty*>(&property);
    if (!group || property.name() != k_exceptions)
        return false;
    QStringList list;
    const tqgen::PropertySet set = group->get();
    for (const auto& entry : set.properties()) {
        if (dynamic_cast<const tqgen::StringProperty*>(entry.get()))
            list.append(entry->value().toString());
    }
    m_exceptions[activeEnvironment()] = list;
    return true;
}

void GlobalNetworkProxy::remove(IPersistDestination* target) const
{
    NetworkProxy::remove(target);
    target->remove(k_exceptions);
}

} // namespace tq
