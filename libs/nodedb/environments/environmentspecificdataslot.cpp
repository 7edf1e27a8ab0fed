// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/environmentspecificdataslot.h"

#include "environments/environments.h"
#include "nodestore/nodedb.h"

#include "platform/qtsignal.h"

namespace tq {

EnvironmentSpecificDataSlot::EnvironmentSpecificDataSlot() = default;

EnvironmentSpecificDataSlot::~EnvironmentSpecificDataSlot() = default;

void EnvironmentSpecificDataSlot::init()
{
    Environments* const environments = getNodeDB()->environments();
    tq::connect(QtSignal(environments, SIGNAL(newEnvironmentAdded(const EnvironmentID&))), this,
        SLOT(copy(const EnvironmentID&)));
    tq::connect(QtSignal(environments, SIGNAL(environmentRemoved(const EnvironmentID&))), this,
        SLOT(del(const EnvironmentID&)));
}

void EnvironmentSpecificDataSlot::copy(const EnvironmentID& id)
{
    copyFromActiveEnvironment(id);
}

void EnvironmentSpecificDataSlot::del(const EnvironmentID& id)
{
    removeEnvironmentEntry(id);
}

NodeDB* EnvironmentSpecificDataSlot::getNodeDB() const
{
    return NodeDB::getDB();
}

QList<QPair<QString, QString>> EnvironmentSpecificDataSlot::environmentList() const
{
    return getNodeDB()->environments()->getList();
}

QString EnvironmentSpecificDataSlot::activeEnvironment() const
{
    // The same as the database's, but good after its end too: consumers may still hold a node.
    return Environments::activeEnvironment();
}

} // namespace tq
