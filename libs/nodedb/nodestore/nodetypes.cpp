// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "nodestore/nodetypes.h"

namespace tq {

namespace {

/** Registers `T` under the texts that appear in signal signatures, which are compared letter by
 * letter. */
template <class T>
void registerNames(std::initializer_list<const char*> names)
{
    const QMetaType type = QMetaType::fromType<T>();
    type.id(); // registers it under its own name
    for (const char* name : names)
        QMetaType::registerNormalizedTypedef(name, type);
}

void registerNodeTypes()
{
    registerNames<QString>({ "tq::NodeID", "NodeID", "tq::NodeViewID", "NodeViewID",
        "tq::EnvironmentID", "EnvironmentID" });
    registerNames<ENodeType>({ "ENodeType" });
    registerNames<ENodeRelationType>({ "ENodeRelationType" });
    registerNames<ENodeState>({ "ENodeState" });
    registerNames<ENodeCreationService>({ "ENodeCreationService" });
    registerNames<EPreviewType>({ "EPreviewType" });
}

Q_CONSTRUCTOR_FUNCTION(registerNodeTypes)

} // namespace

} // namespace tq
