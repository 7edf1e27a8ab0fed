// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "session/hintdeliveries.h"
#include "session/probeledger.h"
#include "session/scannerear.h"
#include "session/storyshelf.h"

#include "platform/smart.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QSet>

#include <memory>
#include <vector>

namespace tq {

class INodeDriverComponent;
class NodeDB;

/**
 * Records what becomes of each hint: who reported it, which node it met, what each driver answered
 * and when, who won.
 *
 * It only listens: to the database, to the scanners that the loader lists and to the drivers. Make
 * it on the database's thread, before scanners are started, and let it go before the database.
 *
 * A hint's origin is **witnessed** when scanner and database are on one thread: the outcome was
 * announced between the two hearings of that hint. It is **inferred** (`isInferred`) where the hint
 * was queued from another thread, or reported before start() returned: the outcome's hint equals
 * that of exactly one scanner's delivery that is still open. Where several scanners have an equal
 * hint on its way at once, where a scanner was running before the recording began, and where the
 * delivery was lost from sight, the origin is unknown. What equals no delivery came by hand: the
 * program handed it to the database itself. A program that repeats by hand, inside of a delivery,
 * the very hint that is being delivered is taken for the scanner.
 *
 * The node of a probe is the one that was inserted on this thread right before the decision, when
 * it is the only one and of a type that the winner serves; that of a typed hint is the only one
 * inserted during its delivery. A winner that inserts none but updates one node in that moment
 * found it there. Else `nodeId` stays empty: a driver may also make its node later.
 *
 * Bounded: at most `capacity` stories, of which the oldest finished one goes first, with bounded
 * texts and answers.
 */
class DiscoveryRecorder : public QObject
{
    Q_OBJECT

public:
    static constexpr qsizetype k_capacity = 4096;

    explicit DiscoveryRecorder(NodeDB& database, qsizetype capacity = k_capacity);
    ~DiscoveryRecorder() override;
    Q_DISABLE_COPY_MOVE(DiscoveryRecorder)

    /** Returns the stories that are kept, in the order in which their hints came. */
    QList<HintStory> stories() const { return m_shelf.all(); }

    /** Returns how many stories were dropped for newer ones. */
    qint64 dropped() const { return m_shelf.dropped(); }

    /** Returns the story with that number; null when it is not kept. Valid until the next signal.
     */
    const HintStory* story(quint64 number) const { return m_shelf.find(number); }

    /** Returns the newest story that the node was made of; null when none is known. Valid as above.
     */
    const HintStory* storyOfNode(const QString& id) const;

    /**
     * Returns the number of the story that the database's latest signal belongs to, 0 for none. For
     * slots of that signal that were connected after this recorder was made.
     */
    quint64 heard() const { return m_heard; }

    /** Returns the ms since the recording began. */
    qint64 elapsed() const { return m_clock.elapsed(); }

    bool event(QEvent* event) override;

private slots:
    /** A driver's own signal. */
    void answeredLater(int requestId, tqm::smart<INodeDriverComponent> driver, int result);

private:
    using DriverHandle = tqm::smart<INodeDriverComponent>;

    struct KnownDriver
    {
        const INodeDriverComponent* driver = nullptr;
        const QObject* sender = nullptr;
        QString name;
        QSet<int> types;
    };

    void listDrivers();
    void listenToScanners();
    void listenToDatabase();
    void listenToOutcomes();

    void heardScanner(const ScannerEar::Report& report);
    void begins(const ScannerEar::Report& report);
    void scannersChanged();
    void probeStarted(int requestId, const NodeHint& hint);
    void probeDecided(int requestId, const DriverHandle& driver);
    void inserted(const QString& id);
    void updating(const QString& id, bool isDone);
    void lost(const QString& id);

    HintStory& add(HintStory::EKind kind, const HintRecord& facts);
    HintStory* storyOf(const NodeHint& hint);
    void bindRequest(int requestId);
    void answered(int requestId, int driver, int result, bool isAtOnce);
    void nameNode(HintStory& story, int winner);
    int indexOf(const DriverHandle& driver, const QObject* sender) const;
    void news(const HintStory* story);
    void finish(HintStory& story, HintStory::EOutcome what, const QString& id = QString());
    void scheduleSweep();
    void sweep();

    NodeDB& m_database;
    StoryShelf m_shelf;
    ProbeLedger m_probes{ m_shelf };
    HintDeliveries m_deliveries;
    QElapsedTimer m_clock;
    std::vector<std::unique_ptr<ScannerEar>> m_ears;
    std::vector<KnownDriver> m_drivers;
    QHash<quint64, QStringList> m_madeInside; ///< nodes inserted while a story was delivered
    QStringList m_justInserted;
    QStringList m_justUpdated;
    quint64 m_heard = 0;
    bool m_isQueued = false;
    bool m_isSweepDue = false;
    bool m_isInsideOld = false; ///< what m_madeInside holds is of an earlier turn
    bool m_hasMissedSome = false; ///< a scanner was running before the recording
};

} // namespace tq
