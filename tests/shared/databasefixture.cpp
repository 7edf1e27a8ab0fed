// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "shared/databasefixture.h"

#include "shared/calllogdestination.h"

namespace tst {

void Database::clearModified()
{
    CallLogDestination nowhere;
    db->save(&nowhere, true);
}

} // namespace tst
