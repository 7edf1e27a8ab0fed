// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/keepingtarget.h"

#include "persistence/istore.h"
#include "platform/exceptions.h"
#include "session/earlierentries.h"

#include <utility>

namespace tq {

KeepingTarget::KeepingTarget(
    IStore& store, const EarlierEntries& earlier, std::function<void(IStore&)> beforeSync)
    : m_store(store), m_earlier(earlier), m_beforeSync(std::move(beforeSync))
{
}

KeepingTarget::~KeepingTarget() = default;

void KeepingTarget::beginGroup(const QString& name)
{
    m_store.beginGroup(name);
}

void KeepingTarget::endGroup()
{
    m_store.endGroup();
}

void KeepingTarget::beginWriteArray(const QString& name, int size)
{
    m_store.beginWriteArray(name, size);
}

int KeepingTarget::beginReadArray(const QString& name)
{
    return m_store.beginReadArray(name);
}

void KeepingTarget::endArray()
{
    m_store.endArray();
}

void KeepingTarget::setArrayIndex(int index)
{
    m_store.setArrayIndex(index);
}

void KeepingTarget::setValue(const QString& key, const QVariant& value)
{
    m_store.setValue(key, value);
}

QVariant KeepingTarget::value(const QString& key, const QVariant& defaultValue) const
{
    return m_store.value(key, defaultValue);
}

void KeepingTarget::remove(const QString& key)
{
    m_store.remove(key);
}

bool KeepingTarget::contains(const QString& key) const
{
    return m_store.contains(key);
}

void KeepingTarget::sync()
{
    if (!m_failed.isEmpty())
        throw ExceptionQt(QStringLiteral("some nodes failed; once more without them"));
    m_beforeSync(m_store);
    m_store.sync();
    if (!m_store.errorString().isEmpty())
        throw ExceptionQt(m_store.errorString());
    m_isSynced = true;
}

INodeEntryTarget::EWriter KeepingTarget::writerOf(const NodeID& id)
{
    if (!m_earlier.contains(id))
        return EWriter::eNode;
    return m_earlier.entry(id) ? EWriter::eTarget : EWriter::eNobody;
}

void KeepingTarget::writeEntry(const NodeID& id)
{
    writeNode(m_store, *m_earlier.entry(id));
}

} // namespace tq
