// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/inodedrivercomponent.h"
#include "discovery/inodescanner.h"
#include "discovery/nodehint.h"

#include <QMap>
#include <QObject>
#include <QStringList>

#include <functional>

namespace tst {

/** A driver whose answers a test sets. Registers itself with the loader for its lifetime. */
class FakeDriver : public QObject, public tq::INodeDriverComponent
{
    Q_OBJECT

public:
    /** `priorities` maps the types it supports to its priority for them. */
    explicit FakeDriver(const QString& name, const QMap<int, int>& priorities);
    ~FakeDriver() override;

    bool supportsNodeType(tq::ENodeType type, int* priority) override;
    QString readableNodeTypeName(tq::ENodeType type) override;
    tq::Node* createNode(tq::ENodeType type) override;
    tq::NodeID createNodeFromHint(const tq::NodeHint& hint) override;
    int probe(int requestId, const tq::NodeHint& hint) override;
    tq::QtSignal probeFinishedSignal() override;
    QString driverName() const override;
    tqm::smart<tq::NodeHint> createNodeHint(tq::ENodeType type) override;

    /** Answers a probe later. */
    void answer(int requestId, int result) { emit probeFinished(requestId, handle(), result); }

    /** Returns a handle of this driver that owns nothing. */
    tqm::smart<tq::INodeDriverComponent> handle();

    int probeAnswer = -1;
    QList<int> probes; ///< request ids, in order
    QStringList created; ///< names of the hints that nodes were asked for
    std::function<void()> onCall; ///< runs at the start of every operation but the destructor
    std::function<tq::NodeID(const tq::NodeHint&)> onCreate; ///< makes the nodes of hints instead

signals:
    void probeFinished(int requestId, tqm::smart<tq::INodeDriverComponent> driver, int result);

private:
    void called() const;

    QString m_name;
    QMap<int, int> m_priorities;
};

/** A scanner that reports what a test tells it to. Registers itself with the loader for its
 * lifetime. */
class FakeScanner : public QObject, public tq::IComponent, public tq::INodeScanner
{
    Q_OBJECT

public:
    explicit FakeScanner(const QString& name, const QStringList& capabilities = {});
    ~FakeScanner() override;

    tq::IInterface* getInterface(const std::string& name) override;
    const tq::IInterface* getInterface(const std::string& name) const override;
    void start(unsigned int argument, int secondArgument) override;
    void stop() override;
    bool isRunning() const override { return m_running; }
    QString scannerName() const override { return m_name; }
    tq::QtSignal newHintSignal() override;
    tq::QtSignal hintChangedSignal() override;
    tq::QtSignal hintGoneSignal() override;

    QList<QPair<uint, int>> starts; ///< the arguments of each start

signals:
    void newHint(const tq::NodeHint& hint);
    void hintChanged(const tq::NodeHint& hint);
    void hintGone(const tq::NodeHint& hint);

private:
    QString m_name;
    bool m_running = false;
};

} // namespace tst
