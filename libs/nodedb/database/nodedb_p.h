// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "database/globalsettings_p.h"
#include "database/noderegistry_p.h"
#include "database/registrylock_p.h"
#include "database/relationstore_p.h"
#include "discovery/discoveryservice_p.h"
#include "discovery/drivertable_p.h"
#include "environments/environments.h"
#include "environments/environmentspecificnodedata.h"
#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"

#include <atomic>
#include <memory>

namespace tq {

/**
 * What stands behind the face. Members are destroyed from the last to the first: the service, then
 * what nodes are connected to and the drivers whose code they may run; the nodes themselves die
 * before all of them.
 */
class NodeDBPrivate
{
public:
    explicit NodeDBPrivate(NodeDB& db)
        : environments(&db), service(std::make_unique<DiscoveryService>(db, drivers))
    {
    }

    mutable RegistryLock lock; // guards registry and relations
    GlobalSettings settings;
    Environments environments;
    GlobalNetworkProxy globalProxy;
    EnvironmentSpecificGlobalData<int> bandwidth{ QStringLiteral("Bandwidth"), 2 };
    DriverTable drivers;
    RelationStore relations;
    NodeRegistry registry;
    std::atomic<bool> modified = false;
    std::unique_ptr<DiscoveryService> service; // null once the database is being destroyed
};

} // namespace tq
