// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "session/hintrecord.h"

#include <QList>
#include <QString>

namespace tq {

/** What one hint led to. Times are ms since the recording began; texts are bounded. */
struct HintStory
{
    enum EKind : int { eNew, eChanged, eGone };
    enum EOrigin : int { eUnknown, eScanner, eByHand };

    enum EOutcome : int {
        eOpen, ///< nothing was heard yet
        eDuplicate, ///< it describes `nodeId`
        eUnhandled, ///< there is no driver for its type
        eProbing, ///< the drivers are being asked
        eNobody, ///< no driver wanted it
        eWon, ///< a driver won it; `nodeId` is what it made, empty when that is not known
        eMade, ///< the driver of its type made a node; `nodeId` as above
        eUpdated, ///< `nodeId` took the change over
        eLost, ///< the device of `nodeId` is gone
        eSilence, ///< nothing was heard of it
    };

    /** What makes an answer count, or not. */
    enum EWeight : int {
        eCounted,
        eAgain, ///< the driver had answered; the library counts such an answer all the same
        eLate, ///< the probe was decided already
    };

    struct Answer
    {
        qint64 at = 0;
        int result = 0; ///< as INodeDriverComponent::probe() says
        bool isAtOnce = false;
        EWeight weight = eCounted;
    };

    /** A driver's part in a probe. */
    struct Driver
    {
        QString name;
        int asked = 0; ///< once for each type that it serves
        QList<Answer> answers; ///< the first k_mostAnswers
        int furtherAnswers = 0;
        int outstanding = 0; ///< how often it has still to answer
        bool hasWon = false;
    };

    static constexpr int k_mostAnswers = 8;

    quint64 number = 0; ///< from 1, in the order of coming
    EKind kind = eNew;
    EOrigin origin = eUnknown;
    QString scanner; ///< for eScanner
    bool isInferred = false; ///< the origin is the only possible one, but was not witnessed
    HintRecord facts; ///< empty where only the outcome was heard
    qint64 cameAt = 0;

    EOutcome outcome = eOpen;
    qint64 outcomeAt = 0;
    QString nodeId;
    bool isUpdated = false; ///< the node was there, and took over what the hint says
    int requestId = 0; ///< of the probe; 0 without one
    qint64 probedAt = 0;
    QList<Driver> drivers; ///< empty without a probe

    /** Returns whether nothing more is to come. */
    bool isFinished() const { return outcome != eOpen && outcome != eProbing; }

    /** Returns where it came from, for people: the scanner's name, "by hand" or "unknown". */
    QString from() const;

    /** Sets the outcome. */
    void end(EOutcome what, qint64 at, const QString& id = QString());
};

} // namespace tq
