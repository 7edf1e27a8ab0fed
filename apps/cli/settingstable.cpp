// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/settingstable.h"

#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"

#include <algorithm>

namespace tq::cli {

namespace {

using Get = std::function<QVariant(const NodeDB&)>;
using Set = std::function<void(NodeDB&, const QVariant&)>;

Setting setting(const char* name, const char* meaning, Get get, Set set)
{
    return { QString::fromUtf8(name), QString::fromUtf8(meaning), std::move(get), std::move(set) };
}

/** A setting with a plain getter and setter in the database. */
template <class T, class Argument>
Setting plain(
    const char* name, const char* meaning, T (NodeDB::*get)() const, void (NodeDB::*set)(Argument))
{
    return setting(
        name, meaning, [get](const NodeDB& db) { return QVariant::fromValue((db.*get)()); },
        [set](NodeDB& db, const QVariant& value) { (db.*set)(value.value<T>()); });
}

/** The stored password of the global login, or an empty one while the fall-back stands in for both.
 */
QString ownGlobalPassword(const NodeDB& db)
{
    const bool isFallback =
        db.globalUser() == QLatin1String("admin") && db.globalPassword() == QLatin1String("kolvar");
    return isFallback ? QString() : db.globalPassword();
}

void setTransponderLogin(
    NodeDB& db, const QString& user, const QString& password, bool savePassword)
{
    db.setDefaultRecordingTransponderUserAndPassword(user, password, savePassword);
}

QList<Setting> loginSettings()
{
    return {
        setting(
            "GlobalUser", "user for devices without a login of their own",
            [](const NodeDB& db) { return db.globalUser(); },
            [](NodeDB& db, const QVariant& v) {
                db.setGlobalAuthentication(v.toString(), ownGlobalPassword(db));
            }),
        setting(
            "GlobalPassword", "and its password",
            [](const NodeDB& db) { return db.globalPassword(); },
            [](NodeDB& db, const QVariant& v) {
                db.setGlobalAuthentication(db.globalUser(), v.toString());
            }),
        plain("Bandwidth", "bandwidth class of the active environment", &NodeDB::bandwidth,
            &NodeDB::setBandwidth),
        plain("RecordingFolderPath", "global recording folder", &NodeDB::globalRecordingFolderPath,
            &NodeDB::setGlobalRecordingFolderPath),
        setting(
            "RecordingFolderUser", "its user",
            [](const NodeDB& db) { return db.globalRecordingFolderUser(); },
            [](NodeDB& db, const QVariant& v) {
                db.setGlobalRecordingFolderUserAndPassword(
                    v.toString(), db.globalRecordingFolderPassword());
            }),
        setting(
            "RecordingFolderPassword", "and password",
            [](const NodeDB& db) { return db.globalRecordingFolderPassword(); },
            [](NodeDB& db, const QVariant& v) {
                db.setGlobalRecordingFolderUserAndPassword(
                    db.globalRecordingFolderUser(), v.toString());
            }),
    };
}

QList<Setting> transponderSettings()
{
    return {
        plain("TransponderIP", "new recording transponders: address",
            &NodeDB::defaultRecordingTransponderIP, &NodeDB::setDefaultRecordingTransponderIP),
        plain("TransponderPort", "port", &NodeDB::defaultRecordingTransponderPort,
            &NodeDB::setDefaultRecordingTransponderPort),
        plain("TransponderSSL", "whether SSL is used", &NodeDB::defaultRecordingTransponderSsl,
            &NodeDB::setDefaultRecordingTransponderSsl),
        plain("TransponderPath", "path", &NodeDB::defaultRecordingTransponderPath,
            &NodeDB::setDefaultRecordingTransponderPath),
        setting(
            "TransponderPreviewMode", "preview mode",
            [](const NodeDB& db) { return int(db.defaultRecordingTransponderPreviewMode()); },
            [](NodeDB& db, const QVariant& v) {
                db.setDefaultRecordingTransponderPreviewMode(EPreviewType(v.toInt()));
            }),
        plain("TransponderFramerate", "frames per second",
            &NodeDB::defaultRecordingTransponderFramerate,
            &NodeDB::setDefaultRecordingTransponderFramerate),
        plain("TransponderQuality", "quality", &NodeDB::defaultRecordingTransponderQuality,
            &NodeDB::setDefaultRecordingTransponderQuality),
        plain("TransponderResolutionX", "width in pixels",
            &NodeDB::defaultRecordingTransponderResolutionX,
            &NodeDB::setDefaultRecordingTransponderResolutionX),
        plain("TransponderResolutionY", "height in pixels",
            &NodeDB::defaultRecordingTransponderResolutionY,
            &NodeDB::setDefaultRecordingTransponderResolutionY),
        plain("TransponderSound", "whether sound is recorded",
            &NodeDB::defaultRecordingTransponderSound,
            &NodeDB::setDefaultRecordingTransponderSound),
        setting(
            "TransponderUser", "user",
            [](const NodeDB& db) { return db.defaultRecordingTransponderUser(); },
            [](NodeDB& db, const QVariant& v) {
                setTransponderLogin(db, v.toString(), db.defaultRecordingTransponderPassword(),
                    db.defaultRecordingTransponderSavePassword());
            }),
        setting(
            "TransponderPassword", "password",
            [](const NodeDB& db) { return db.defaultRecordingTransponderPassword(); },
            [](NodeDB& db, const QVariant& v) {
                setTransponderLogin(db, db.defaultRecordingTransponderUser(), v.toString(),
                    db.defaultRecordingTransponderSavePassword());
            }),
        setting(
            "TransponderSavePassword", "whether the password is kept",
            [](const NodeDB& db) { return db.defaultRecordingTransponderSavePassword(); },
            [](NodeDB& db, const QVariant& v) {
                setTransponderLogin(db, db.defaultRecordingTransponderUser(),
                    db.defaultRecordingTransponderPassword(), v.toBool());
            }),
    };
}

QList<Setting> proxySettings()
{
    using Proxy = GlobalNetworkProxy;
    const auto of = [](const char* name, const char* meaning, auto get, auto set) {
        return setting(
            name, meaning,
            [get](const NodeDB& db) { return QVariant::fromValue(get(*db.globalProxy())); },
            [set](NodeDB& db, const QVariant& v) { set(*db.globalProxy(), v); });
    };
    return {
        of(
            "UseProxy", "whether the global proxy is used",
            [](const Proxy& p) { return p.useProxy(); },
            [](Proxy& p, const QVariant& v) { p.setUseProxy(v.toBool()); }),
        of(
            "ProxyAddress", "its address", [](const Proxy& p) { return p.proxyAddress(); },
            [](Proxy& p, const QVariant& v) { p.setProxyAddress(v.toString(), p.proxyPort()); }),
        of(
            "ProxyPort", "its port", [](const Proxy& p) { return p.proxyPort(); },
            [](Proxy& p, const QVariant& v) { p.setProxyAddress(p.proxyAddress(), v.toInt()); }),
        of(
            "ProxyUser", "its user", [](const Proxy& p) { return p.proxyUser(); },
            [](Proxy& p, const QVariant& v) { p.setProxyUser(v.toString(), p.proxyPassword()); }),
        of(
            "ProxyPassword", "its password", [](const Proxy& p) { return p.proxyPassword(); },
            [](Proxy& p, const QVariant& v) { p.setProxyUser(p.proxyUser(), v.toString()); }),
        of(
            "SaveProxyPassword", "whether the password is kept",
            [](const Proxy& p) { return p.saveProxyPassword(); },
            [](Proxy& p, const QVariant& v) { p.setSaveProxyPassword(v.toBool()); }),
        of(
            "Exceptions", "patterns of addresses that are reached without it",
            [](const Proxy& p) { return p.exceptions(); },
            [](Proxy& p, const QVariant& v) { p.setExceptions(v.toStringList()); }),
    };
}

} // namespace

const QList<Setting>& allSettings()
{
    static const QList<Setting> settings =
        loginSettings() + transponderSettings() + proxySettings();
    return settings;
}

const Setting* findSetting(const QString& name)
{
    const auto& settings = allSettings();
    const auto found = std::find_if(settings.begin(), settings.end(),
        [&](const Setting& setting) { return setting.name == name; });
    return found == settings.end() ? nullptr : &*found;
}

} // namespace tq::cli
