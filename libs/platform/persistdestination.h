// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface.h"

#include <QString>
#include <QVariant>

namespace tq {

/**
 * A hierarchical key/value store with nested groups and arrays of numbered entries, in the manner
 * of QSettings.
 *
 * Keys are relative to the groups and array entries that are open. The order of the virtual
 * operations is fixed. Targets need not be thread-safe: one thread uses one at a time.
 */
class PLATFORM_EXPORT IPersistDestination : public IInterface
{
public:
    ~IPersistDestination() override;
    IInterface* getInterface(const std::string& name) override;
    const IInterface* getInterface(const std::string& name) const override;

    /** Opens a group: later keys are relative to it until the matching endGroup(). Groups nest. */
    virtual void beginGroup(const QString& name) = 0;

    /** Closes the innermost open group. */
    virtual void endGroup() = 0;

    /**
     * Opens an array for writing; entries are chosen with setArrayIndex(). The array's size follows
     * from the highest index written (`size` -1) and never shrinks: an array that exists is merged
     * into, keys of its entries stay until they are overwritten or removed.
     */
    virtual void beginWriteArray(const QString& name, int size = -1) = 0;

    /** Opens an array for reading. Returns the number of its entries; 0 when it is absent (it is
     * open even then). */
    virtual int beginReadArray(const QString& name) = 0;

    /** Closes the innermost open array. */
    virtual void endArray() = 0;

    /** Selects the current entry (from 0) of the open array. */
    virtual void setArrayIndex(int index) = 0;

    /** Writes or overwrites one value. */
    virtual void setValue(const QString& key, const QVariant& value) = 0;

    /** Returns the value under `key`, or `defaultValue` when there is none. */
    virtual QVariant value(const QString& key, const QVariant& defaultValue = QVariant()) const = 0;

    /** Removes the value, the group and the array of that name, with everything under them. */
    virtual void remove(const QString& key) = 0;

    /** Returns whether there is a value under `key`. */
    virtual bool contains(const QString& key) const = 0;

    /** Makes everything written and removed since the last sync durable. */
    virtual void sync() = 0;
};

} // namespace tq
