// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/storefactory.h"

#include <QObject>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>

namespace tst {

/** Calls on a target, as a client would make them. */
using Script = std::function<void(tq::IPersistDestination&)>;

/** Returns every value as "PATH=TYPE TEXT" and every array as "PATH#SIZE". */
QStringList flat(const tq::StoreNode& node, const QString& path = QString());

/**
 * Runs a test program, or the part of it that a test plays in a process of its own:
 * --dump URL writes the flat tree of a store, --write URL writes without a sync and then waits.
 */
int runContract(int argc, char* argv[], QObject& test);

/** What every store owes its clients. A test program derives from it and names its store. */
class PersistDestinationContract : public QObject
{
    Q_OBJECT
public:
    explicit PersistDestinationContract(const QString& urlStart, const QString& fileName);

private slots:
    void init();
    void scriptsLeaveTheirTree_data();
    void scriptsLeaveTheirTree();
    void valuesKeepTheirTypes();
    void readingFindsWhatIsThereAndDefaults();
    void unmatchedCallsAreLoggedAndHarmless_data();
    void unmatchedCallsAreLoggedAndHarmless();
    void behavesAsTheMemoryStoreUnderRandomCalls_data();
    void behavesAsTheMemoryStoreUnderRandomCalls();
    void putReplacesAndCopyCarriesEverything();

protected:
    /** Opens the store; the test fails when that fails. */
    std::unique_ptr<tq::IStore> open(tq::OpenMode mode = tq::OpenMode::Create);

    /** Returns the store after a sync, opened anew when it is one in a file. */
    std::unique_ptr<tq::IStore> reopened(std::unique_ptr<tq::IStore> store);

    QString m_urlStart;
    QString m_fileName;
    QString m_path;
    QString m_url;
    std::unique_ptr<QTemporaryDir> m_folder;
};

} // namespace tst
