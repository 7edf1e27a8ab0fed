// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodedb/nodedb_export.h"

#include "platform/interface.h"
#include "platform/qtsignal.h"

#include <QString>

namespace tq {

/**
 * What a scanner plug-in implements, besides IComponent: it looks for devices and reports hints of
 * them.
 *
 * Found by the loader under the interface name "INodeScanner". Its three signals each carry one
 * `const tq::NodeHint&` and may be emitted on any thread. The database calls it on its own thread.
 */
class NODEDB_EXPORT INodeScanner : public virtual IInterface
{
public:
    ~INodeScanner() override;
    IInterface* getInterface(const std::string& name) override;
    const IInterface* getInterface(const std::string& name) const override;

    /** Starts scanning. Each scanner says what the two arguments mean to it; zeros must be good
     * defaults. */
    virtual void start(unsigned int argument, int secondArgument) = 0;

    /** Stops scanning; no signal is emitted afterwards. */
    virtual void stop() = 0;

    virtual bool isRunning() const = 0;

    /** Returns a short name that programs show and accept, such as "arp". */
    virtual QString scannerName() const = 0;

    virtual QtSignal newHintSignal() = 0;
    virtual QtSignal hintChangedSignal() = 0;
    virtual QtSignal hintGoneSignal() = 0;
};

} // namespace tq
