// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "contract/persistdestinationcontract.h"

namespace tst {

/** What a store in a file owes its owner besides. */
class FileStoreContract : public PersistDestinationContract
{
    Q_OBJECT
public:
    using PersistDestinationContract::PersistDestinationContract;

private slots:
    void anotherProcessReadsTheSame();
    void nothingIsDurableBeforeSync();
    void aKilledWriterLeavesTheOldContent_data();
    void aKilledWriterLeavesTheOldContent();
    void abandonedFoldersAreRemoved();
    void filesAreTheOwnersAlone();
    void damagedFilesAreRefusedAndLeft_data();
    void damagedFilesAreRefusedAndLeft();
    void unusablePathsAreNamed_data();
    void unusablePathsAreNamed();
    void aReadOnlyStoreIsNotTouched();
    void aFailedSyncIsReported();
    void aFullDiskLeavesTheOldContent();
    void aLackOfDescriptorsLosesNothing();
    void aFolderThatIsNotSyncedIsReported();
};

} // namespace tst
