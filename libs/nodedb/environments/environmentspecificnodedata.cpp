// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/environmentspecificnodedata.h"

#include "platform/persistscope.h"

namespace tq {

namespace {

const QString k_array = QStringLiteral("Environment");
const QString k_environment = QStringLiteral("Key");

} // namespace

template <class T>
EnvironmentSpecificGlobalData<T>::EnvironmentSpecificGlobalData(
    const QString& key, const T& defaultValue)
    : m_default(defaultValue), m_key(key)
{
}

template <class T>
void EnvironmentSpecificGlobalData<T>::init()
{
    EnvironmentSpecificDataSlot::init();
    const QString active = activeEnvironment();
    // Directly, not by set(): other environments are not filled here.
    if (!active.isEmpty())
        m_values[active] = m_default;
}

template <class T>
T EnvironmentSpecificGlobalData<T>::value() const
{
    return m_values.value(activeEnvironment(), m_default);
}

template <class T>
void EnvironmentSpecificGlobalData<T>::set(const QString& id, const T& value)
{
    const auto environments = environmentList();
    if (environments.isEmpty())
        m_values[id] = value;
    for (const auto& environment : environments) {
        if (environment.first == id || !m_values.contains(environment.first))
            m_values[environment.first] = value;
    }
}

template <class T>
void EnvironmentSpecificGlobalData<T>::assign(const EnvironmentSpecificGlobalData& other)
{
    m_values = other.m_values;
    m_default = other.m_default;
}

template <class T>
void EnvironmentSpecificGlobalData<T>::copyFromActiveEnvironment(const QString& id)
{
    set(id, value());
}

template <class T>
void EnvironmentSpecificGlobalData<T>::removeEnvironmentEntry(const QString& id)
{
    m_values.remove(id);
}

template <class T>
void EnvironmentSpecificGlobalData<T>::save(IPersistDestination* target) const
{
    PersistWriteArray array(target, k_array);
    for (const auto& environment : environmentList()) {
        array.next();
        target->setValue(k_environment, environment.first);
        target->setValue(m_key, QVariant(m_values.value(environment.first, m_default)));
    }
}

template <class T>
void EnvironmentSpecificGlobalData<T>::load(IPersistDestination* source)
{
    m_values.clear();
    using Entry = QPair<QString, T>;
    const auto entries = readPersistedEntries<Entry>(source, k_array, [&](Entry& entry) {
        const QVariant key = source->value(k_environment, QVariant());
        const QVariant value = source->value(m_key, QVariant(m_default));
        entry = { key.toString(), value.template value<T>() };
        return key.isValid() || entry.second != m_default;
    });
    for (const Entry& entry : entries)
        m_values[entry.first.isEmpty() ? activeEnvironment() : entry.first] = entry.second;
    if (entries.isEmpty())
        m_values[activeEnvironment()] =
            source->value(m_key, QVariant(m_default)).template value<T>();
}

template <class T>
EnvironmentSpecificNodeData<T>::EnvironmentSpecificNodeData(
    const QString& key, const T& defaultValue)
    : EnvironmentSpecificGlobalData<T>(key, defaultValue)
{
    EnvironmentSpecificGlobalData<T>::init();
}

template class EnvironmentSpecificGlobalData<int>;
template class EnvironmentSpecificGlobalData<bool>;
template class EnvironmentSpecificGlobalData<QString>;
template class EnvironmentSpecificNodeData<int>;
template class EnvironmentSpecificNodeData<bool>;
template class EnvironmentSpecificNodeData<QString>;

} // namespace tq
