// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "shared/calllogdestination.h"

#include <QDebug>

#include <stdexcept>

namespace tst {

void CallLogDestination::log(const QString& call) const
{
    m_calls.append(call);
    if (m_calls.size() - 1 == throwAt)
        throw std::runtime_error("call " + std::to_string(throwAt));
}

void CallLogDestination::beginGroup(const QString& name)
{
    log(QStringLiteral("beginGroup ") + name);
    ++m_open;
    if (m_inner)
        m_inner->beginGroup(name);
}

void CallLogDestination::endGroup()
{
    --m_open;
    log(QStringLiteral("endGroup"));
    if (m_inner)
        m_inner->endGroup();
}

void CallLogDestination::beginWriteArray(const QString& name, int size)
{
    log(QStringLiteral("beginWriteArray %1 %2").arg(name).arg(size));
    ++m_open;
    if (m_inner)
        m_inner->beginWriteArray(name, size);
}

int CallLogDestination::beginReadArray(const QString& name)
{
    log(QStringLiteral("beginReadArray ") + name);
    ++m_open;
    return m_inner ? m_inner->beginReadArray(name) : 0;
}

void CallLogDestination::endArray()
{
    --m_open;
    log(QStringLiteral("endArray"));
    if (m_inner)
        m_inner->endArray();
}

void CallLogDestination::setArrayIndex(int index)
{
    log(QStringLiteral("setArrayIndex %1").arg(index));
    if (m_inner)
        m_inner->setArrayIndex(index);
}

void CallLogDestination::setValue(const QString& key, const QVariant& value)
{
    QString printed;
    QDebug(&printed).nospace() << value;
    log(QStringLiteral("setValue ") + key + QLatin1Char(' ') + printed);
    if (m_inner)
        m_inner->setValue(key, value);
}

QVariant CallLogDestination::value(const QString& key, const QVariant& defaultValue) const
{
    log(QStringLiteral("value ") + key);
    return m_inner ? m_inner->value(key, defaultValue) : defaultValue;
}

void CallLogDestination::remove(const QString& key)
{
    log(QStringLiteral("remove ") + key);
    if (m_inner)
        m_inner->remove(key);
}

bool CallLogDestination::contains(const QString& key) const
{
    return m_inner && m_inner->contains(key);
}

void CallLogDestination::sync()
{
    log(QStringLiteral("sync"));
    if (onSync)
        onSync();
    if (m_inner)
        m_inner->sync();
}

} // namespace tst
