// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "nodestore/nodeproperty.h"

namespace tq {

NodeProperty::NodeProperty(const QString& label, Node* node, const QString& name)
    : m_label(label), m_node(node), m_name(name)
{
    registerWithNode();
}

NodeProperty::~NodeProperty() = default;

QString NodeProperty::name() const
{
    return m_name;
}

} // namespace tq
