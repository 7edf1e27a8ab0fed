// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/confinedtarget_p.h"

#include <algorithm>
#include <utility>

namespace tq {

ConfinedTarget::~ConfinedTarget() = default;

QString ConfinedTarget::endEntry()
{
    while (!m_open.empty()) {
        note(m_open.back() == eGroup ? "left a group open" : "left an array open");
        closeInnermost();
    }
    return std::exchange(m_faults, {}).join(QStringLiteral(", "));
}

void ConfinedTarget::beginGroup(const QString& name)
{
    m_target->beginGroup(name);
    m_open.push_back(eGroup);
}

void ConfinedTarget::endGroup()
{
    if (!isOpen(eGroup, "closed a group that it had not opened"))
        return;
    closeDownTo(eGroup);
    closeInnermost();
}

void ConfinedTarget::beginWriteArray(const QString& name, int size)
{
    m_target->beginWriteArray(name, size);
    m_open.push_back(eArray);
}

int ConfinedTarget::beginReadArray(const QString& name)
{
    const int count = m_target->beginReadArray(name);
    m_open.push_back(eArray);
    return count;
}

void ConfinedTarget::endArray()
{
    if (!isOpen(eArray, "closed an array that it had not opened"))
        return;
    closeDownTo(eArray);
    closeInnermost();
}

void ConfinedTarget::setArrayIndex(int index)
{
    if (!isOpen(eArray, "selected an entry of an array that it had not opened"))
        return;
    closeDownTo(eArray);
    m_target->setArrayIndex(index);
}

void ConfinedTarget::setValue(const QString& key, const QVariant& value)
{
    m_target->setValue(key, value);
}

QVariant ConfinedTarget::value(const QString& key, const QVariant& defaultValue) const
{
    return m_target->value(key, defaultValue);
}

void ConfinedTarget::remove(const QString& key)
{
    m_target->remove(key);
}

bool ConfinedTarget::contains(const QString& key) const
{
    return m_target->contains(key);
}

void ConfinedTarget::sync()
{
    note("called sync()");
}

bool ConfinedTarget::isOpen(ELevel kind, const char* fault)
{
    const bool result = std::find(m_open.begin(), m_open.end(), kind) != m_open.end();
    if (!result)
        note(fault);
    return result;
}

void ConfinedTarget::closeDownTo(ELevel kind)
{
    while (m_open.back() != kind) {
        note(kind == eGroup ? "left an array open" : "left a group open");
        closeInnermost();
    }
}

void ConfinedTarget::closeInnermost()
{
    // First of all it counts as closed: a target that throws is not asked again.
    const ELevel kind = m_open.back();
    m_open.pop_back();
    if (kind == eGroup)
        m_target->endGroup();
    else
        m_target->endArray();
}

void ConfinedTarget::note(const char* fault)
{
    const QString text = QString::fromLatin1(fault);
    if (!m_faults.contains(text))
        m_faults.append(text);
}

} // namespace tq
