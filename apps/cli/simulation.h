// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command.h"

#include <QString>

namespace tq::cli {

/** Returns the folder of the plug-ins that simulate devices. */
QString simulationFolder();

/** Finds the site file that `given` means: a path, or the name of a site that comes with the
 * program. */
Outcome findSite(const QString& given, QString& path);

} // namespace tq::cli
