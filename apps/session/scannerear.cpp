// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/scannerear.h"

#include "discovery/inodescanner.h"
#include "discovery/nodehint.h"

#include "session/pluginanswer.h"

#include <QEvent>
#include <QScopedValueRollback>

#include <utility>

namespace tq {

namespace {

const std::array k_begins{ SLOT(newBegins(const tq::NodeHint&)),
    SLOT(changeBegins(const tq::NodeHint&)), SLOT(goneBegins(const tq::NodeHint&)) };
const std::array k_ends{ SLOT(newEnds(const tq::NodeHint&)), SLOT(changeEnds(const tq::NodeHint&)),
    SLOT(goneEnds(const tq::NodeHint&)) };

} // namespace

ScannerEar::ScannerEar(INodeScanner& scanner, std::function<void(const Report&)> heard)
    : m_heard(std::move(heard))
{
    const auto signal = [&](auto which) {
        return pluginAnswer(QtSignal(), [&] { return (scanner.*which)(); });
    };
    m_signals = { signal(&INodeScanner::newHintSignal), signal(&INodeScanner::hintChangedSignal),
        signal(&INodeScanner::hintGoneSignal) };
    m_name = boundedText(pluginAnswer(QString(), [&] { return scanner.scannerName(); }));
    for (std::size_t i = 0; i < m_signals.size(); ++i)
        tq::connect(m_signals[i], this, k_begins[i]);
}

ScannerEar::~ScannerEar() = default;

void ScannerEar::hearEnds()
{
    for (std::size_t i = 0; i < m_signals.size(); ++i) {
        tq::disconnect(m_signals[i], this, k_ends[i]);
        tq::connect(m_signals[i], this, k_ends[i]);
    }
    m_hearsEnds = true;
}

bool ScannerEar::event(QEvent* event)
{
    // A direct call does not come through here; report() calls nothing that could lead to one.
    const QScopedValueRollback rollback(m_isQueued, event->type() == QEvent::MetaCall);
    return QObject::event(event);
}

void ScannerEar::report(HintStory::EKind kind, const NodeHint& hint, bool isEnd)
{
    m_heard({ this, kind, &hint, isEnd, m_isQueued });
}

} // namespace tq
