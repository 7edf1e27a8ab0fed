// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/persistdestination.h"

#include <QStringList>

#include <functional>

namespace tst {

/** Hands every call on to another target and writes it down; can throw at the k-th call. */
class CallLogDestination : public tq::IPersistDestination
{
public:
    /** `inner` is not owned; null answers reads as an empty store. */
    explicit CallLogDestination(tq::IPersistDestination* inner = nullptr) : m_inner(inner) { }

    void beginGroup(const QString& name) override;
    void endGroup() override;
    void beginWriteArray(const QString& name, int size) override;
    int beginReadArray(const QString& name) override;
    void endArray() override;
    void setArrayIndex(int index) override;
    void setValue(const QString& key, const QVariant& value) override;
    QVariant value(const QString& key, const QVariant& defaultValue) const override;
    void remove(const QString& key) override;
    bool contains(const QString& key) const override;
    void sync() override;

    /** Returns one line per call: its name, its arguments, and for values their type. */
    QStringList calls() const { return m_calls; }

    int throwAt = -1; ///< the number of the call, from 0, that throws
    std::function<void()> onSync; ///< runs inside sync()
    int openScopes() const { return m_open; } ///< groups and arrays begun and not ended

private:
    void log(const QString& call) const;

    tq::IPersistDestination* m_inner;
    mutable QStringList m_calls;
    int m_open = 0;
};

} // namespace tst
