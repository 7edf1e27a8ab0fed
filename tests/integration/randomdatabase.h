// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>
#include <QString>

#include <random>

namespace tst {

/** Fills the process's fresh database with anything that a store must bring back; the same seed
 * gives the same. */
class RandomDatabase
{
public:
    explicit RandomDatabase(unsigned seed) : m_random(seed) { }

    void fill();

    /** Returns how often each peculiarity occurred. */
    const QMap<QString, int>& coverage() const { return m_coverage; }

private:
    int number(int most) { return int(m_random() % unsigned(most + 1)); }
    bool chance() { return number(1) == 1; }
    QString someText();
    QString someId(int index);
    void count(const char* what, int times = 1) { m_coverage[QString::fromLatin1(what)] += times; }

    void fillEnvironments();
    void fillSettings();
    void fillProxy();
    void fillNodes();
    void fillDevice(const QString& id);
    void fillStorage(const QString& id);
    void fillShipped();
    void fillRelations();

    std::mt19937 m_random;
    QMap<QString, int> m_coverage;
    QStringList m_environments;
};

} // namespace tst
