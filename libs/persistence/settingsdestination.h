// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/memorydestination.h"
#include "persistence/persistence_export.h"

#include <QString>

#include <memory>

namespace tq {

/**
 * A store in an INI file, in the form that QSettings writes: arrays as NAME\size and NAME\1\KEY.
 *
 * The whole content is held in memory. sync() replaces the file as a whole, readable by its owner
 * only; before it, nothing is written. Values come back with their exact types from a file that
 * this class wrote; from a file that QSettings wrote, scalars come back as text, as they do there.
 * Lines that mean nothing are passed over and make the store damaged; so do sizes of arrays that
 * are none. An array ends with its last entry that holds a key: a size that goes on is logged.
 */
class PERSISTENCE_EXPORT SettingsDestination : public MemoryDestination
{
public:
    /** Opens the store at `path`. Returns null, and the reason in `error`, when it cannot be used.
     */
    static std::unique_ptr<SettingsDestination> open(
        const QString& path, OpenMode mode, QString& error);
    ~SettingsDestination() override;

    void sync() override;
    QString location() const override { return m_path; }
    bool isDamaged() const override { return m_isDamaged; }

private:
    SettingsDestination(const QString& path, OpenMode mode);

    QString m_path;
    bool m_isDamaged = false;
};

} // namespace tq
