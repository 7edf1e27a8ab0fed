// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/persistdestination.h"

#include <QStringList>

#include <vector>

namespace tq {

/**
 * A target as a plug-in's node gets it, for one entry after the other: hands everything through
 * that stays inside of the entry that is selected.
 *
 * What the node closes or selects although it did not open it, and its sync(), is refused. What it
 * leaves open is closed, at the latest by endEntry(). Each kind of fault is kept once.
 */
class ConfinedTarget final : public IPersistDestination
{
public:
    /** `target` is not owned. */
    explicit ConfinedTarget(IPersistDestination* target) : m_target(target) { }
    ~ConfinedTarget() override;

    /** Closes what is open and returns what was wrong, for a log line; empty when nothing was. */
    QString endEntry();

    void beginGroup(const QString& name) override;
    void endGroup() override;
    void beginWriteArray(const QString& name, int size = -1) override;
    int beginReadArray(const QString& name) override;
    void endArray() override;
    void setArrayIndex(int index) override;
    void setValue(const QString& key, const QVariant& value) override;
    QVariant value(const QString& key, const QVariant& defaultValue = QVariant()) const override;
    void remove(const QString& key) override;
    bool contains(const QString& key) const override;
    void sync() override;

private:
    enum ELevel : char { eGroup, eArray };

    bool isOpen(ELevel kind, const char* fault);
    void closeInnermost();
    void closeDownTo(ELevel kind);
    void note(const char* fault);

    IPersistDestination* m_target;
    std::vector<ELevel> m_open;
    QStringList m_faults;
};

} // namespace tq
