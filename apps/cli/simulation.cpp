// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/simulation.h"

#include "cli/output.h"

#include "session/databasesession.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace tq::cli {

namespace {

const QString k_suffix = QStringLiteral(".json");

/** The sites that come with the program. */
QDir siteFolder()
{
    return QDir(QDir::cleanPath(
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/nodedb/sites")));
}

} // namespace

QString simulationFolder()
{
    return DatabaseSession::pluginFolder() + QStringLiteral("/simulated");
}

Outcome findSite(const QString& given, QString& path)
{
    const QDir shipped = siteFolder();
    QStringList places{ given };
    // A name, not a path that would lead out of the folder.
    if (!given.isEmpty() && !given.contains(QLatin1Char('/')))
        places += { shipped.filePath(given), shipped.filePath(given + k_suffix) };
    for (const QString& place : places) {
        const QFileInfo file(place);
        if (file.isFile()) {
            path = file.absoluteFilePath();
            return Outcome::done();
        }
    }
    QStringList names;
    for (const QFileInfo& file :
        shipped.entryInfoList({ QLatin1Char('*') + k_suffix }, QDir::Files, QDir::Name)) {
        if (file.completeBaseName() == file.baseName()) // not the schema
            names.append(file.baseName());
    }
    return Outcome::refused(
        QStringLiteral("there is no site file %1; sites that come with the program: %2")
            .arg(quoted(given),
                names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "))));
}

} // namespace tq::cli
