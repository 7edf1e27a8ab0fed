// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "misbehavingnode.h"

#include "nodestore/nodedb.h"

#include <stdexcept>

using namespace tq;

MisbehavingNode::MisbehavingNode(const QString& id) : IPDeviceNode(k_type, id)
{
    setShouldPersist(true);
}

void MisbehavingNode::failIn(const char* operation) const
{
    if (id() == QLatin1String(operation))
        throw std::runtime_error("the node broke down");
}

Node* MisbehavingNode::clone() const
{
    failIn("clone");
    auto* const copy = new MisbehavingNode(id());
    deepCopy(copy);
    return copy;
}

tqgen::PropertySet MisbehavingNode::properties() const
{
    failIn("properties");
    if (id() == QLatin1String("remover") && note() == QLatin1String("armed")) {
        for (const QString& other : NodeDB::getDB()->nodeIdList())
            NodeDB::getDB()->removeNode(other);
    }
    return IPDeviceNode::properties();
}

bool MisbehavingNode::updateField(const tqgen::BaseProperty& property)
{
    failIn("updateField");
    return IPDeviceNode::updateField(property);
}

QString MisbehavingNode::name() const
{
    failIn("name");
    return IPDeviceNode::name();
}

QString MisbehavingNode::hostAddress() const
{
    failIn("hostAddress");
    return IPDeviceNode::hostAddress();
}
