// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/inodescanner.h"
#include "discovery/nodehint.h"

#include "platform/component.h"

#include <QObject>

namespace tq {

/** What the components of all scanners have alike: how they are found, and their three signals. */
class ScannerComponent : public QObject, public IComponent, public INodeScanner
{
    Q_OBJECT

public:
    ScannerComponent();
    ~ScannerComponent() override;
    Q_DISABLE_COPY_MOVE(ScannerComponent)

    IInterface* getInterface(const std::string& name) override;
    const IInterface* getInterface(const std::string& name) const override;
    QtSignal newHintSignal() override;
    QtSignal hintChangedSignal() override;
    QtSignal hintGoneSignal() override;

signals:
    void newHint(const tq::NodeHint& hint);
    void hintChanged(const tq::NodeHint& hint);
    void hintGone(const tq::NodeHint& hint);

protected:
    /** Emits the signal for an event of `Table`, whose kinds are eNew, eChanged and eGone. */
    template <class Table>
    void report(decltype(Table::Event::kind) kind, const NodeHint& hint)
    {
        switch (kind) {
        case Table::eNew:
            emit newHint(hint);
            break;
        case Table::eChanged:
            emit hintChanged(hint);
            break;
        case Table::eGone:
            emit hintGone(hint);
            break;
        }
    }
};

} // namespace tq
