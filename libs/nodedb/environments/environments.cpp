// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/environments.h"

#include "nodestore/nodedb.h"

#include "platform/persistscope.h"
#include "platform/qtsignal.h"

#include <QMutex>
#include <QPointer>
#include <QUuid>

#include <algorithm>

namespace tq {

namespace {

const QString k_active = QStringLiteral("Active");
const QString k_environments = QStringLiteral("Environments");
const QString k_id = QStringLiteral("ID");
const QString k_name = QStringLiteral("Name");

QMutex s_activeMutex; // guards the active id: hints and nodes read it on any thread; innermost

} // namespace

QString Environments::m_activeEnvironment;

Environments::Environments(NodeDB* db)
{
    for (const char* signal : { SIGNAL(environmentRenamed(const EnvironmentID&)),
             SIGNAL(newEnvironmentAdded(const EnvironmentID&)),
             SIGNAL(environmentRemoved(const EnvironmentID&)) })
        tq::connect(QtSignal(this, signal), db, SIGNAL(environmentsChanged()));
    setActiveEnvironment(add(tr("Default")));
}

Environments::~Environments() = default;

QString Environments::activeEnvironment()
{
    const QMutexLocker locker(&s_activeMutex);
    return m_activeEnvironment;
}

void Environments::setActiveEnvironment(const QString& id)
{
    const QMutexLocker locker(&s_activeMutex);
    m_activeEnvironment = id;
}

int Environments::find(const QList<Entry>& list, const QString& id)
{
    const auto found = std::find_if(
        list.begin(), list.end(), [&](const Entry& entry) { return entry.first == id; });
    return found == list.end() ? -1 : int(found - list.begin());
}

bool Environments::exists(const QString& id) const
{
    return find(m_list, id) >= 0;
}

QString Environments::name(const QString& id) const
{
    const int index = find(m_list, id);
    return index < 0 ? QString() : m_list.at(index).second;
}

QString Environments::appendNew(const QString& name)
{
    const QString id = QUuid::createUuid().toString();
    m_list.append({ id, name });
    return id;
}

QString Environments::add(const QString& name)
{
    const bool taken = std::any_of(
        m_list.cbegin(), m_list.cend(), [&](const Entry& entry) { return entry.second == name; });
    if (taken)
        return QString();
    const QString id = appendNew(name);
    emit newEnvironmentAdded(id);
    return id;
}

void Environments::rename(const QString& id, const QString& newName)
{
    const int index = find(m_list, id);
    if (index < 0)
        return;
    // `id` may be the list's own, which slots may change.
    const QString renamed = id;
    m_list[index].second = newName;
    emit environmentRenamed(renamed);
}

void Environments::remove(const QString& id)
{
    const int index = find(m_list, id);
    if (index < 0 || id == activeEnvironment())
        return;
    const QString removed = id; // may be the list's own
    m_list.removeAt(index);
    emit environmentRemoved(removed);
}

void Environments::setList(const QList<Entry>& edited)
{
    const QList<Entry> list = edited; // may be the list of this object itself
    if (list.isEmpty())
        return;
    // Slots may change the list, and even end the database with it.
    const QPointer<Environments> alive(this);
    for (const Entry& entry : list) {
        if (alive)
            mergeEntry(entry);
    }
    const QList<Entry> before = alive ? m_list : QList<Entry>();
    for (const Entry& entry : before) {
        if (!alive)
            return;
        const int index = find(m_list, entry.first);
        if (find(list, entry.first) >= 0 || entry.first == activeEnvironment() || index < 0)
            continue;
        m_list.removeAt(index);
        emit environmentRemoved(entry.first);
    }
}

void Environments::mergeEntry(const Entry& entry)
{
    const int index = find(m_list, entry.first);
    if (index < 0) {
        m_list.append(entry);
        emit newEnvironmentAdded(entry.first);
    } else if (m_list.at(index).second != entry.second) {
        rename(entry.first, entry.second);
    }
}

void Environments::save(IPersistDestination* target) const
{
    target->setValue(k_active, activeEnvironment());
    PersistWriteArray array(target, k_environments);
    for (const Entry& entry : m_list) {
        array.next();
        target->setValue(k_id, entry.first);
        target->setValue(k_name, entry.second);
    }
}

void Environments::load(IPersistDestination* source)
{
    m_list = readPersistedEntries<Entry>(source, k_environments, [&](Entry& entry) {
        const QVariant id = source->value(k_id, QVariant());
        const QVariant name = source->value(k_name, QVariant());
        entry = { id.toString(), name.toString() };
        return id.isValid() || name.isValid();
    });
    if (m_list.isEmpty()) {
        // The stored active id, if any, belongs to environments that are gone.
        setActiveEnvironment(appendNew(tr("Default")));
        return;
    }
    const QString active = source->value(k_active, QVariant()).toString();
    setActiveEnvironment(active);
    if (!exists(active))
        logLine(
            Log::eSurvived, "The active environment is not in the list of environments: ", active);
}

} // namespace tq
