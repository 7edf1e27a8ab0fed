// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/qtsignal.h"
#include "session/hintstory.h"

#include <QObject>

#include <array>
#include <functional>

namespace tq {

class INodeScanner;
class NodeHint;

/**
 * Hears the hints of one scanner twice: before the database does, because it is connected earlier,
 * and after it, because it is connected again later. What the database announces in between comes
 * of that hint.
 */
class ScannerEar : public QObject
{
    Q_OBJECT

public:
    /** One hearing. */
    struct Report
    {
        const ScannerEar* ear = nullptr;
        HintStory::EKind kind = HintStory::eNew;
        const NodeHint* hint = nullptr; ///< never null; valid during the call
        bool isEnd = false; ///< after the database
        bool isQueued = false; ///< the hint came from another thread
    };

    /** Listens to `scanner`, which may go away; `heard` is called on this thread. */
    ScannerEar(INodeScanner& scanner, std::function<void(const Report&)> heard);
    ~ScannerEar() override;
    Q_DISABLE_COPY_MOVE(ScannerEar)

    /** Hears the ends: after everything that is connected now. */
    void hearEnds();

    /** Returns whether the ends are heard of hints that come now. */
    bool hearsEnds() const { return m_hearsEnds; }

    /** Returns the scanner's own name, bounded. */
    QString name() const { return m_name; }

    bool event(QEvent* event) override;

private slots:
    void newBegins(const tq::NodeHint& hint) { report(HintStory::eNew, hint, false); }
    void newEnds(const tq::NodeHint& hint) { report(HintStory::eNew, hint, true); }
    void changeBegins(const tq::NodeHint& hint) { report(HintStory::eChanged, hint, false); }
    void changeEnds(const tq::NodeHint& hint) { report(HintStory::eChanged, hint, true); }
    void goneBegins(const tq::NodeHint& hint) { report(HintStory::eGone, hint, false); }
    void goneEnds(const tq::NodeHint& hint) { report(HintStory::eGone, hint, true); }

private:
    void report(HintStory::EKind kind, const NodeHint& hint, bool isEnd);

    std::function<void(const Report&)> m_heard;
    std::array<QtSignal, 3> m_signals;
    QString m_name;
    bool m_hearsEnds = false;
    bool m_isQueued = false;
};

} // namespace tq
