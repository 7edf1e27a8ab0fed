// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/globalsettings_p.h"

#include "platform/persistdestination.h"

namespace tq {

namespace {

const QString k_path = QStringLiteral("Path");
const QString k_user = QStringLiteral("User");
const QString k_ip = QStringLiteral("IP");
const QString k_port = QStringLiteral("Port");
const QString k_ssl = QStringLiteral("SSL");
const QString k_previewMode = QStringLiteral("PreviewMode");
const QString k_framerate = QStringLiteral("Framerate");
const QString k_quality = QStringLiteral("Quality");
const QString k_resolutionX = QStringLiteral("ResolutionX");
const QString k_resolutionY = QStringLiteral("ResolutionY");
const QString k_sound = QStringLiteral("Sound");

} // namespace

void GlobalSettings::saveRecordingFolder(IPersistDestination* target) const
{
    target->setValue(k_path, recordingFolderPath);
    target->setValue(k_user, recordingFolderLogin.toVariant());
}

void GlobalSettings::loadRecordingFolder(IPersistDestination* source)
{
    recordingFolderPath = source->value(k_path, QVariant()).toString();
    recordingFolderLogin.fromVariant(source->value(k_user, QVariant()));
}

void GlobalSettings::saveTransponder(IPersistDestination* target) const
{
    const Transponder& t = transponder;
    target->setValue(k_ip, t.ip);
    target->setValue(k_port, t.port);
    target->setValue(k_ssl, t.ssl);
    target->setValue(k_path, t.path);
    target->setValue(k_previewMode, int(t.previewMode));
    target->setValue(k_framerate, t.framerate);
    target->setValue(k_quality, t.quality);
    target->setValue(k_resolutionX, t.resolutionX);
    target->setValue(k_resolutionY, t.resolutionY);
    target->setValue(k_sound, t.sound);
    target->setValue(k_user, t.login.toVariant());
}

void GlobalSettings::loadTransponder(IPersistDestination* source)
{
    const Transponder defaults;
    Transponder& t = transponder;
    t.ip = source->value(k_ip, defaults.ip).toString();
    t.port = source->value(k_port, defaults.port).toInt();
    t.ssl = source->value(k_ssl, defaults.ssl).toBool();
    t.path = source->value(k_path, defaults.path).toString();
    t.previewMode = EPreviewType(source->value(k_previewMode, int(defaults.previewMode)).toInt());
    t.framerate = float(source->value(k_framerate, defaults.framerate).toDouble());
    t.quality = source->value(k_quality, defaults.quality).toInt();
    t.resolutionX = source->value(k_resolutionX, defaults.resolutionX).toInt();
    t.resolutionY = source->value(k_resolutionY, defaults.resolutionY).toInt();
    t.sound = source->value(k_sound, defaults.sound).toBool();
    t.login.fromVariant(source->value(k_user, QVariant()));
}

void GlobalSettings::saveAuthentication(IPersistDestination* target) const
{
    target->setValue(k_user, authentication.toVariant());
}

void GlobalSettings::loadAuthentication(IPersistDestination* source)
{
    authentication.fromVariant(source->value(k_user, QVariant()));
}

} // namespace tq
