// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehint.h"

namespace tq {

namespace {

void registerHint()
{
    const QMetaType type = QMetaType::fromType<NodeHint>();
    type.id(); // registers it under its own name
    QMetaType::registerNormalizedTypedef("NodeHint", type);
}

Q_CONSTRUCTOR_FUNCTION(registerHint)

} // namespace

NodeHint::NodeHint() = default;

NodeHint::~NodeHint() = default;

void NodeHint::setProperty(const tqgen::BaseProperty&) { }

tqm::smart<tqgen::BaseProperty> NodeHint::getProperty(const QString&) const
{
    return {};
}

} // namespace tq
