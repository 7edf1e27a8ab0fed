// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "session/hintstory.h"

#include <QList>
#include <QSet>

#include <vector>

namespace tq {

/**
 * The hints that are between a scanner's signal and the end of the database's slot.
 *
 * Direct deliveries nest: the newest one is where the thread is. Queued ones come one after the
 * other from each thread, but mixed among threads. Stories are named by their numbers.
 */
class HintDeliveries
{
public:
    struct Delivery
    {
        quint64 story = 0;
        const void* scanner = nullptr;
        HintStory::EKind kind = HintStory::eNew;
        std::size_t contents = 0;
        ENodeType nodeType = eAnyNodeType;
        bool isQueued = false;
        bool hasEnd = false; ///< end() will be called for it
        bool isTold = false; ///< its outcome was heard
        bool isMixed = false; ///< or that of an equal one of another scanner
    };

    /** What the story of an outcome may be. */
    struct Match
    {
        quint64 story = 0; ///< 0: it belongs to no delivery
        bool isCertain = false; ///< witnessed: the database was inside that delivery
        QList<quint64> rivals; ///< stories of other scanners that it may be just as well
    };

    void begin(const Delivery& delivery);

    /** Ends the delivery that began like that one. */
    void end(const Delivery& delivery);

    /** No end will come for the open direct deliveries of `scanner` (null: that have none). */
    void loseEnds(const void* scanner);

    /**
     * Ends a turn of the event loop: the direct deliveries without an end are over. Returns the
     * stories that stay untold; those of new hints only the second time, because what was announced
     * late in this turn arrives in the next one.
     */
    QList<quint64> sweep();

    /** Returns whether another sweep has something to do. */
    bool needsSweep() const;

    /** Finds the delivery of a new hint with these contents and marks it as told. */
    Match takeNew(std::size_t contents);

    /** Finds the one delivery of that kind that an announcement without a hint can belong to; null,
     * without a guess, when there are several. Of new hints only those with a node type count: the
     * others end with announcements that name the hint. */
    Delivery* only(HintStory::EKind kind);

    /** Returns whether any delivery of that kind is open. */
    bool isAnyOpen(HintStory::EKind kind) const;

    /** Returns the innermost direct delivery; null outside of all. */
    Delivery* innermost() { return m_direct.empty() ? nullptr : &m_direct.back(); }

    /** Returns whether an outcome of these contents may come of a delivery that takeNew() does not
     * find: one that was lost from sight, or one that the database hears twice. */
    bool mayHaveBeen(std::size_t contents) const;

private:
    void finish(const Delivery& delivery);
    void lapse(const Delivery& delivery);
    void endQueued(const Delivery& delivery);

    std::vector<Delivery> m_direct;
    std::vector<Delivery> m_queued;
    QList<Delivery> m_waiting; ///< over in this turn; the probe may still be announced
    QList<Delivery> m_waitingBefore; ///< over in the turn before
    QList<quint64> m_silent; ///< over and untold
    QSet<std::size_t> m_over; ///< contents of those that ended in this turn
    QSet<std::size_t> m_overBefore;
    QSet<std::size_t> m_lapsed;
    bool m_isLossy = false;
};

} // namespace tq
