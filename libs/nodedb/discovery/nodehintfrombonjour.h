// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/nodehint.h"
#include "discovery/serviceinfo.h"

namespace tq {

/** A device announced through DNS-SD: a hint that is the whole service record as well. */
class NODEDB_EXPORT NodeHintFromBonjour : public NodeHintKind<NodeHintFromBonjour>,
                                          public SServiceInfo
{
public:
    /** The service kind sets the node type; address and full name become third and second text. */
    explicit NodeHintFromBonjour(const SServiceInfo& info);
    ~NodeHintFromBonjour() override;
    NodeHintFromBonjour(const NodeHintFromBonjour&) = default;
    NodeHintFromBonjour& operator=(const NodeHintFromBonjour&) = default;

    void writeAt(QTextStream& stream) const override;
};

} // namespace tq
