// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istore.h"
#include "persistence/persistence_export.h"

#include <QString>

#include <memory>

namespace tq {

/**
 * The right to change a store, held by one program at a time and for as long as this object lives.
 *
 * Every program that saves everything it has loaded holds it from before loading until after its
 * last sync(): what another one saved in between would be undone. Readers need none.
 *
 * The lock is the kernel's, on the file "<file of the store>.lock" beside the file that the store's
 * name leads to, so that every name of a store gives the same lock and a killed program holds none.
 * That file is never removed. What is written in it only tells people who holds the lock.
 */
class PERSISTENCE_EXPORT StoreLock
{
public:
    /**
     * Takes the lock of the store, named and to be opened as for openStore(). Returns null, and one
     * sentence in `error` (may be null), when the store is missing and not to be created, when
     * another program has the lock, when it cannot be had for whatever reason, and when the store
     * may not be changed where it is; nothing waits. A store without a file is locked by nobody.
     */
    [[nodiscard]] static std::unique_ptr<StoreLock> take(
        const QString& urlOrPath, QString* error = nullptr, OpenMode mode = OpenMode::ReadWrite);

    ~StoreLock();
    Q_DISABLE_COPY_MOVE(StoreLock)

    /** Returns the name of the store that is locked, as resolvedStore() gives it: open this one. */
    QString store() const { return m_store; }

private:
    StoreLock(const QString& store, int file) : m_store(store), m_file(file) { }

    QString m_store;
    int m_file; ///< an open descriptor; -1 for a store without a file
};

} // namespace tq
