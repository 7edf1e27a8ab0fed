// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QSet>

namespace tq {
class DiscoveryRecorder;
class NodeDB;
class NodeHint;
} // namespace tq

namespace tq::cli {

/** What became of a device. */
struct DeviceEvent
{
    enum EFate : int { eNew, eKnown, eChanged, eGone, eNotOurs, eNoDriver };

    EFate fate = eNew;
    QString nodeId; ///< empty where there is no node
    QJsonObject device; ///< what is known of it, under the names of a node's properties
    QString from; ///< where its hint came from, for people; empty when that was not recorded
    int request = 0; ///< of the probe that decided this; 0: there was none

    /** Returns the fate in a word or two. */
    static QString word(EFate fate);
};

/** Follows the discovery of a database and tells what becomes of each hint. */
class DiscoveryWatch : public QObject
{
    Q_OBJECT

public:
    /** With a recorder, which was made before and outlives the watch, events say where hints came
     * from; they are told in the next turn of the event loop, when that is known. */
    explicit DiscoveryWatch(NodeDB& database, const DiscoveryRecorder* recorder = nullptr);
    ~DiscoveryWatch() override;
    Q_DISABLE_COPY_MOVE(DiscoveryWatch)

    /** Returns how many hints are still being probed. */
    qsizetype openProbes() const { return m_probes.size(); }

    /** Waits until no hint is being probed, at most `timeout` ms. Returns whether that is so. */
    bool waitForProbes(int timeout);

    /** Tells the events that still wait. */
    void flush();

signals:
    void happened(const tq::cli::DeviceEvent& event);

    /** The last open probe ended. */
    void idle();

private:
    struct Waiting
    {
        DeviceEvent event;
        quint64 story = 0;
    };

    void tell(
        DeviceEvent::EFate fate, const QString& id, const QJsonObject& device, int request = 0);
    void attributeChanges(); ///< those that a probe which was just decided led to
    void tellOfNode(DeviceEvent::EFate fate, const QString& id);
    void met(const NodeHint& hint, const QString& id);
    void confirm(const QString& id, const QString& address);
    void updated(const QString& id);

    NodeDB& m_database;
    const DiscoveryRecorder* m_recorder;
    QList<Waiting> m_waiting;
    QHash<int, QJsonObject> m_probes;
    QHash<QString, QJsonObject> m_known;
    QHash<QString, QSet<QString>> m_heard; ///< at which addresses each node was met
};

} // namespace tq::cli
