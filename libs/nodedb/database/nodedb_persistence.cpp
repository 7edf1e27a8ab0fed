// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/databasereader_p.h"
#include "database/databasewriter_p.h"
#include "database/nodedb_p.h"
#include "nodestore/storedkeys.h"

#include "platform/logline.h"
#include "platform/plugincall.h"

#include <QPointer>

namespace tq {

using namespace stored;

namespace {

void writeAll(const RegistryLock::Reading& guard, const NodeDBPrivate& d,
    IPersistDestination* target, bool saveAll)
{
    DatabaseWriter writer(target, saveAll, d.drivers);
    const GlobalSettings& settings = d.settings;
    writer.writeGroup(k_environment, [&](auto* t) { d.environments.save(t); });
    writer.writeGroup(k_globalFields, [&](auto* t) { d.bandwidth.save(t); });
    writer.writeGroup(k_recordingFolder, [&](auto* t) { settings.saveRecordingFolder(t); });
    writer.writeGroup(k_transponder, [&](auto* t) { settings.saveTransponder(t); });
    writer.writeGroup(k_globalProxy, [&](auto* t) { d.globalProxy.save(t); });
    writer.writeGroup(k_authentication, [&](auto* t) { settings.saveAuthentication(t); });
    writer.writeNodes(guard, d.registry);
    writer.writeRelations(guard, d.registry, d.relations);
    target->sync();
}

template <class Read>
void readGroup(IPersistDestination* source, const QString& name, Read read)
{
    const PersistGroup group(source, name);
    read();
}

void readSettings(NodeDBPrivate& d, IPersistDestination* source)
{
    GlobalSettings& settings = d.settings;
    readGroup(source, k_environment, [&] { d.environments.load(source); });
    readGroup(source, k_globalFields, [&] { d.bandwidth.load(source); });
    readGroup(source, k_recordingFolder, [&] { settings.loadRecordingFolder(source); });
    readGroup(source, k_transponder, [&] { settings.loadTransponder(source); });
    readGroup(source, k_globalProxy, [&] { d.globalProxy.load(source); });
    readGroup(source, k_authentication, [&] { settings.loadAuthentication(source); });
}

/** Runs `work`; a level 2 line says what was not done when it throws. Returns whether it came
 * through. */
template <class Work>
bool survives(const char* whatFailed, Work work)
{
    const auto thrown = thrownBy(work);
    if (thrown)
        logLine(Log::eSurvived, whatFailed, *thrown);
    return !thrown;
}

} // namespace

void NodeDB::save(IPersistDestination* target, bool saveAll)
{
    // Held until the flag is cleared: nothing changes between what was written and the flag.
    const auto guard = d->lock.read();
    if (survives("The database was not saved: ", [&] { writeAll(guard, *d, target, saveAll); }))
        d->modified = false;
}

void NodeDB::load(IPersistDestination* source)
{
    const QPointer<NodeDB> alive(this);
    DatabaseReader reader(*this, d->drivers, source);
    survives("The database was not loaded as a whole: ", [&] {
        readSettings(*d, source);
        reader.readNodes();
        reader.readRelations();
    });
    logLine(Log::eProgress, "NodeDB loaded: ", reader.nodeCount(), " nodes.");
    logLine(Log::eProgress, "NodeDB loaded: ", reader.relationCount(), " nodes relations.");
    if (alive)
        d->modified = false;
}

} // namespace tq
