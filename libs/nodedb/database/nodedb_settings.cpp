// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/nodedb_p.h"

namespace tq {

namespace {

/** Sets user and password of `login`, keeping its save flag. Returns whether anything changed. */
bool assignLogin(UserAndPassword& login, const QString& user, const QString& password)
{
    if (login.user == user && login.password == password)
        return false;
    login.user = user;
    login.password = password;
    return true;
}

} // namespace

QString NodeDB::activeUser() const
{
    return d->settings.activeUser;
}

void NodeDB::setActiveUser(const QString& user)
{
    if (user == d->settings.activeUser)
        return;
    d->settings.activeUser = user;
    emit activeUserChanged();
}

Environments* NodeDB::environments() const
{
    return &d->environments;
}

EnvironmentID NodeDB::activeEnvironment() const
{
    return Environments::activeEnvironment();
}

void NodeDB::setActiveEnvironment(const QString& id)
{
    if (id == activeEnvironment())
        return;
    Environments::setActiveEnvironment(id);
    emit activeEnvironmentChanged();
}

int NodeDB::bandwidth() const
{
    return d->bandwidth.value();
}

void NodeDB::setBandwidth(int value)
{
    d->bandwidth.set(activeEnvironment(), value);
}

QString NodeDB::globalUser() const
{
    const QString user = d->settings.authentication.user;
    return user.isEmpty() ? QStringLiteral("admin") : user;
}

QString NodeDB::globalPassword() const
{
    // kept: the test is on the user, so an empty password of a known user stays empty
    const UserAndPassword& authentication = d->settings.authentication;
    return authentication.user.isEmpty() ? QStringLiteral("kolvar") : authentication.password;
}

void NodeDB::setGlobalAuthentication(const QString& user, const QString& password)
{
    if (assignLogin(d->settings.authentication, user, password))
        emit globalAuthenticationChanged();
}

QString NodeDB::globalRecordingFolderPath() const
{
    const QString path = d->settings.recordingFolderPath;
    const bool endsInSeparator =
        path.endsWith(QLatin1Char('/')) || path.endsWith(QLatin1Char('\\'));
    return endsInSeparator ? path.chopped(1) : path;
}

void NodeDB::setGlobalRecordingFolderPath(const QString& path)
{
    if (path == d->settings.recordingFolderPath)
        return;
    d->settings.recordingFolderPath = path;
    emit globalPathChanged();
}

QString NodeDB::globalRecordingFolderUser() const
{
    return d->settings.recordingFolderLogin.user;
}

QString NodeDB::globalRecordingFolderPassword() const
{
    return d->settings.recordingFolderLogin.password;
}

void NodeDB::setGlobalRecordingFolderUserAndPassword(const QString& user, const QString& password)
{
    if (assignLogin(d->settings.recordingFolderLogin, user, password))
        emit globalPathChanged();
}

GlobalNetworkProxy* NodeDB::globalProxy() const
{
    return &d->globalProxy;
}

QString NodeDB::defaultRecordingTransponderIP() const
{
    return d->settings.transponder.ip;
}

void NodeDB::setDefaultRecordingTransponderIP(const QString& ip)
{
    d->settings.transponder.ip = ip;
}

int NodeDB::defaultRecordingTransponderPort() const
{
    return d->settings.transponder.port;
}

void NodeDB::setDefaultRecordingTransponderPort(int port)
{
    d->settings.transponder.port = port;
}

bool NodeDB::defaultRecordingTransponderSsl() const
{
    return d->settings.transponder.ssl;
}

void NodeDB::setDefaultRecordingTransponderSsl(bool ssl)
{
    d->settings.transponder.ssl = ssl;
}

QString NodeDB::defaultRecordingTransponderPath() const
{
    return d->settings.transponder.path;
}

void NodeDB::setDefaultRecordingTransponderPath(const QString& path)
{
    d->settings.transponder.path = path;
}

EPreviewType NodeDB::defaultRecordingTransponderPreviewMode() const
{
    return d->settings.transponder.previewMode;
}

void NodeDB::setDefaultRecordingTransponderPreviewMode(EPreviewType mode)
{
    d->settings.transponder.previewMode = mode;
}

float NodeDB::defaultRecordingTransponderFramerate() const
{
    return d->settings.transponder.framerate;
}

void NodeDB::setDefaultRecordingTransponderFramerate(float framesPerSecond)
{
    d->settings.transponder.framerate = framesPerSecond;
}

int NodeDB::defaultRecordingTransponderQuality() const
{
    return d->settings.transponder.quality;
}

void NodeDB::setDefaultRecordingTransponderQuality(int quality)
{
    d->settings.transponder.quality = quality;
}

int NodeDB::defaultRecordingTransponderResolutionX() const
{
    return d->settings.transponder.resolutionX;
}

void NodeDB::setDefaultRecordingTransponderResolutionX(int pixels)
{
    d->settings.transponder.resolutionX = pixels;
}

int NodeDB::defaultRecordingTransponderResolutionY() const
{
    return d->settings.transponder.resolutionY;
}

void NodeDB::setDefaultRecordingTransponderResolutionY(int pixels)
{
    d->settings.transponder.resolutionY = pixels;
}

bool NodeDB::defaultRecordingTransponderSound() const
{
    return d->settings.transponder.sound;
}

void NodeDB::setDefaultRecordingTransponderSound(bool sound)
{
    d->settings.transponder.sound = sound;
}

QString NodeDB::defaultRecordingTransponderUser() const
{
    return d->settings.transponder.login.user;
}

QString NodeDB::defaultRecordingTransponderPassword() const
{
    return d->settings.transponder.login.password;
}

bool NodeDB::defaultRecordingTransponderSavePassword() const
{
    return d->settings.transponder.login.savePassword;
}

void NodeDB::setDefaultRecordingTransponderUserAndPassword(
    const QString& user, const QString& password, bool savePassword)
{
    d->settings.transponder.login = UserAndPassword(user, password, savePassword);
}

} // namespace tq
