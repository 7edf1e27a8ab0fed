// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/settingsdestination.h"

#include "persistence/inifile_p.h"
#include "persistence/privatefile_p.h"
#include "platform/logline.h"

#include <QFile>

namespace tq {

SettingsDestination::SettingsDestination(const QString& path, OpenMode mode)
    : MemoryDestination(mode), m_path(path)
{
}

SettingsDestination::~SettingsDestination() = default;

std::unique_ptr<SettingsDestination> SettingsDestination::open(
    const QString& path, OpenMode mode, QString& error)
{
    const QString name = resolvedPath(path);
    bool exists = false;
    error = whyNoStoreAt(name, mode, exists);
    if (!error.isEmpty())
        return nullptr;
    std::unique_ptr<SettingsDestination> store(new SettingsDestination(name, mode));
    if (!exists)
        return store;
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("The store %1 cannot be read: %2").arg(name, file.errorString());
        return nullptr;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError) {
        error = QStringLiteral("The store %1 cannot be read: %2").arg(name, file.errorString());
        return nullptr;
    }
    IniContent content = readIni(bytes);
    if (!content.error.isEmpty()) {
        error = QStringLiteral("The store %1 cannot be used: %2").arg(name, content.error);
        return nullptr;
    }
    for (const QString& finding : std::as_const(content.findings))
        logLine(Log::eSurvived, "Store: ", name, " is damaged: ", finding);
    for (const QString& remark : std::as_const(content.remarks))
        logLine(Log::eSurvived, "Store: ", name, ": ", remark);
    store->m_isDamaged = !content.findings.isEmpty();
    store->setContent(std::move(content.root));
    return store;
}

void SettingsDestination::sync()
{
    MemoryDestination::sync();
    if (openMode() == OpenMode::ReadOnly)
        return;
    QString error;
    const PrivateFolder folder(m_path, error);
    if (error.isEmpty()) {
        error = writeIni(content(), folder.file())
            ? replaceFile(folder.file(), m_path)
            : QStringLiteral("%1 could not be written, the disk may be full.").arg(m_path);
    }
    setError(error.isEmpty() ? syncFolderOf(m_path)
                             : QStringLiteral("Nothing was saved: %1").arg(error));
}

} // namespace tq
