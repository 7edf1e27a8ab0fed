// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/sitesource_p.h"

#include "platform/pluginloader.h"

#include <QFileInfo>

namespace tq {

QString SiteSource::refresh()
{
    const QString path = plugin::Loader::instance().option(QStringLiteral("simulated/site"));
    if (path.isEmpty()) {
        *this = SiteSource();
        return QStringLiteral("the option simulated/site names no site file");
    }
    const QDateTime changed = QFileInfo(path).lastModified();
    if (path == m_path && changed == m_changed && changed.isValid())
        return m_error;
    const site::Site site = site::readSite(path);
    m_path = path;
    m_changed = changed;
    m_error = site.error;
    m_devices = m_error.isEmpty() ? DeviceDirectory(site) : DeviceDirectory();
    return m_error;
}

} // namespace tq
