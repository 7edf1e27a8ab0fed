// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istore.h"
#include "persistence/persistence_export.h"

#include <QString>

#include <memory>

namespace tq {

/**
 * A store in memory: for tests, for a copy to fall back on, and the reference for what the other
 * stores do. It keeps the exact types of values. sync() makes nothing durable.
 */
class PERSISTENCE_EXPORT MemoryDestination : public IStore
{
public:
    MemoryDestination();
    ~MemoryDestination() override;

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
    bool isDamaged() const override { return false; }
    void endReading() override { }

protected:
    explicit MemoryDestination(OpenMode mode);

    /** Takes over a whole content. Nothing may be open. */
    void setContent(StoreNode content);
    const StoreNode& content() const;

    /** Keeps an error; one that is not empty is logged. */
    void setError(const QString& error) const;

private:
    bool mayWrite() const;

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tq
