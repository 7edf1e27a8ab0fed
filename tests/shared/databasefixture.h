// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodedb.h"
#include "shared/fakedriver.h"
#include "shared/fakenode.h"
#include "shared/logcapture.h"
#include "shared/signaltrace.h"

#include <QCoreApplication>

namespace tst {

inline QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/** A fresh database for one test, its signals traced and its log captured; gone with the fixture.
 */
struct Database
{
    Database() : db(tq::NodeDB::getDB()), trace(db) { log.clear(); }
    ~Database() { tq::NodeDB::freeDB(); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    PlainNode* insertPlain(const QString& id)
    {
        auto* const node = new PlainNode(id);
        node->setName(QStringLiteral("name of ") + id);
        db->insertNode(node);
        return node;
    }

    DeviceNode* insertDevice(const QString& id, const QString& host = QString())
    {
        auto* const node = new DeviceNode(id, host);
        db->insertNode(node);
        return node;
    }

    /** Clears the modified flag. */
    void clearModified();

    /** Delivers queued signals, then returns the trace since the last call. */
    QStringList signals_()
    {
        QCoreApplication::sendPostedEvents();
        return trace.take();
    }

    LogCapture log;
    tq::NodeDB* db;
    SignalTrace trace;
};

} // namespace tst
