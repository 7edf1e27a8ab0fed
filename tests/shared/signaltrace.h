// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QStringList>

#include <memory>
#include <vector>

class QSignalSpy;

namespace tst {

/** Records every signal that an object's own class emits, in order, as "name(arguments)". Hints
 * appear by name. */
class SignalTrace : public QObject
{
    Q_OBJECT

public:
    explicit SignalTrace(QObject* sender);
    ~SignalTrace() override;

    /** Returns what was emitted since the last take(). */
    QStringList take();

private slots:
    void record();

private:
    QStringList m_entries;
    std::vector<std::unique_ptr<QSignalSpy>> m_spies;
};

} // namespace tst
