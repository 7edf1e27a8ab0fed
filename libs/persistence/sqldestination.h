// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istore.h"
#include "persistence/persistence_export.h"

#include <QString>

#include <memory>

namespace tq {

/**
 * A store in one SQLite file, one row per array entry.
 *
 * Values come back with their exact types. Everything between two sync() is one transaction: from
 * the first write to the sync() no other process can write. From the first read to endReading(),
 * sync() or the first write, reads see one state. A process that holds the file longer than five
 * seconds makes the others' operations fail. File and journal are readable by their owner only.
 */
class PERSISTENCE_EXPORT SqlDestination : public IStore
{
public:
    /** Opens the store at `path`. Returns null, and the reason in `error`, when it cannot be used.
     */
    static std::unique_ptr<SqlDestination> open(const QString& path, OpenMode mode, QString& error);
    ~SqlDestination() override;

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

    StoreNode tree(const StoreLocation& location = StoreLocation()) const override;
    void copyTo(IPersistDestination& to) const override;

    QString location() const override;
    OpenMode openMode() const override;
    QString errorString() const override;
    bool isDamaged() const override;
    void endReading() override;

private:
    SqlDestination(const QString& path, OpenMode mode);

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tq
