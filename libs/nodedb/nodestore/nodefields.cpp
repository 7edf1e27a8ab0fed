// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// The plain fields of a node. Setters of mirrored fields mark the property set stale; kept: the
// name's does not.
#include "nodestore/node.h"

namespace tq {

QString Node::name() const
{
    return m_name;
}

void Node::setName(const QString& name)
{
    // kept: not stale, so editors go on showing the old name until the next refresh
    m_name = name;
}

QIcon Node::icon() const
{
    return m_icon;
}

ENodeState Node::state() const
{
    return m_state;
}

void Node::setState(ENodeState state)
{
    m_state = state;
}

ENodeCreationService Node::creationService() const
{
    return m_creationService;
}

void Node::setCreationService(ENodeCreationService service)
{
    m_creationService = service;
    markStale();
}

bool Node::shouldPersist() const
{
    return m_shouldPersist;
}

void Node::setShouldPersist(bool persist)
{
    m_shouldPersist = persist;
    markStale();
}

void* Node::context() const
{
    return m_context;
}

void Node::setContext(void* context)
{
    m_context = context;
}

bool Node::primaryNode() const
{
    return m_primaryNode;
}

void Node::setPrimaryNode(bool primary)
{
    m_primaryNode = primary;
    markStale();
}

QString Node::softwareVersion() const
{
    return m_softwareVersion;
}

void Node::setSoftwareVersion(const QString& version)
{
    m_softwareVersion = version;
    markStale();
}

QString Node::modelInfo() const
{
    return m_modelInfo;
}

void Node::setModelInfo(const QString& info)
{
    m_modelInfo = info;
    markStale();
}

QString Node::preferredLayout() const
{
    return m_preferredLayout;
}

void Node::setPreferredLayout(const QString& layout)
{
    m_preferredLayout = layout;
    markStale();
}

QString Node::mouseOverSize() const
{
    return m_mouseOverSize;
}

void Node::setMouseOverSize(const QString& size)
{
    m_mouseOverSize = size;
    markStale();
}

QString Node::owner() const
{
    return m_owner;
}

void Node::setOwner(const QString& owner)
{
    m_owner = owner;
}

QString Node::note() const
{
    return m_note.value();
}

void Node::setNote(const QString& note)
{
    m_note.set(note);
    markStale();
}

bool Node::supportsVexal() const
{
    return false;
}

bool Node::supportsAlarmEvents() const
{
    return false;
}

bool Node::supportsExport() const
{
    return false;
}

} // namespace tq
