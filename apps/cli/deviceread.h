// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command.h"

#include "nodestore/nodetypes.h"

#include <QEventLoop>
#include <QObject>

#include <optional>

namespace tq {
class IDeviceReader;
}

namespace tq::cli {

class Invocation;

/** One reading of a device by its driver, waited for. */
class DeviceRead : public QObject
{
    Q_OBJECT

public:
    explicit DeviceRead(const QString& id) : m_id(id) { }

    /** Lets `reader` read and waits for its end, a stop signal or the longest time; says how long
     * it takes on a terminal. Refused with the reader's sentence when that failed. */
    Outcome run(IDeviceReader& reader);

    /** Returns why the reader could not read, in its own sentence; empty where it did not say. */
    QString reason() const { return m_error.value_or(QString()); }

private slots:
    void finished(tq::NodeID id, QString error);

private:
    void showProgress(int seconds) const;

    QString m_id;
    QEventLoop m_loop;
    std::optional<QString> m_error;
};

/**
 * Lets the driver of a new node try the node's login, and read with it. Refused with the driver's
 * words as part of a sentence.
 */
Outcome tryLogin(Invocation& call, const QString& id);

/** Lets the driver of a node read its device into the node, and saves. The store is open. */
Outcome readDevice(Invocation& call, const QString& id);

} // namespace tq::cli
