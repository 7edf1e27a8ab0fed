// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "session/storyshelf.h"

#include <QHash>
#include <QList>
#include <QString>

namespace tq {

/** Writes the drivers' answers to probes into the stories. Drivers are named by their position. */
class ProbeLedger
{
public:
    struct Driver
    {
        QString name;
        int asked = 0; ///< once for each type that it serves
    };

    explicit ProbeLedger(StoryShelf& shelf) : m_shelf(shelf) { }

    /** Sets who is asked; once, before the first probe. */
    void setDrivers(const QList<Driver>& drivers) { m_drivers = drivers; }

    /** Returns whether the request was begun and its story is kept. */
    bool knows(int requestId) const { return m_requests.contains(requestId); }

    /** Returns the story of the request; null when it is not known. */
    HintStory* storyOf(int requestId);

    /** Begins the request of that story, with the answers that came before it was announced. */
    void begin(HintStory& story, int requestId, qint64 now);

    /** Takes an answer; `driver` is -1 for one that is not known. */
    void answer(int requestId, int driver, const HintStory::Answer& answer);

    /** Notes the decision for `driver`, -1 for nobody. */
    void decide(int requestId, int driver);

    /** Forgets the request of a story that was dropped. */
    void forget(const HintStory& story) { m_requests.remove(story.requestId); }

private:
    struct Request
    {
        quint64 story = 0;
        int pending = 0; ///< answers that the library still waits for
        bool isCertain = false; ///< somebody answered 1
        bool isDecided = false;
    };

    struct EarlyAnswer
    {
        int driver = -1;
        HintStory::Answer answer;
    };

    void write(Request& request, int driver, HintStory::Answer answer);
    static HintStory::EWeight weigh(const Request& request, int outstanding);

    StoryShelf& m_shelf;
    QList<Driver> m_drivers;
    QHash<int, Request> m_requests;
    QHash<int, QList<EarlyAnswer>> m_early; ///< to requests that were not announced yet
    int m_lastBegun = 0;
};

} // namespace tq
