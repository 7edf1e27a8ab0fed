// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "drivers/nasdevice/sharereading_p.h"

#include "nodestore/nodetypes.h"

#include <QObject>
#include <QQueue>
#include <QThreadPool>

#include <memory>

namespace tq {

/** A storage to be read. */
struct StorageRead
{
    NodeID id;
    QString host;
    quint16 port = 0;
    ShareQuestion question;
};

/**
 * Reads storages one after the other on a thread of its own: libsmbclient is not made for two
 * threads at a time.
 */
class StorageReads : public QObject
{
    Q_OBJECT

public:
    explicit StorageReads(QObject* parent);

    /** Ends the open read at once, without a word. */
    ~StorageReads() override;

    /** Reads a storage; given up `patience` ms after its turn came. The answer never comes from
     * here. */
    void add(const StorageRead& read, int patience);

    /** Drops all reads; no answer of theirs comes. */
    void clear();

signals:
    /** `error` is one sentence, or empty: then `answer` is what the storage said. */
    void finished(const tq::StorageRead& read, const tq::ShareAnswer& answer, const QString& error);

private:
    struct Running;

    void startNext();
    void giveUp();
    void take(const ShareAnswer& answer);
    static QString errorOf(const Running& running, const ShareAnswer& answer);

    QQueue<std::pair<StorageRead, int>> m_waiting;
    std::unique_ptr<Running> m_running;
    QThreadPool* m_pool; ///< of one thread; left behind should that not come back
};

} // namespace tq
