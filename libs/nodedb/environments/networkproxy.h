// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/userandpassword.h"
#include "nodestore/nodetypes.h"

#include "platform/properties/propertyset.h"

#include <QMap>
#include <QObject>

namespace tq {

class IPersistDestination;

/**
 * The proxy through which a device is reached, kept per environment.
 *
 * Getters and setters are about the active environment; an environment without an entry reads as no
 * proxy, port 8080, password saved. Use it on the database's thread.
 */
class NODEDB_EXPORT NetworkProxy : public QObject
{
    Q_OBJECT

public:
    NetworkProxy();
    ~NetworkProxy() override;
    Q_DISABLE_COPY_MOVE(NetworkProxy)

    /** Starts to follow the database's environments; the owner calls it once the database exists.
     */
    virtual void init();

    /** Writes the array "Environment" into the current group: plain empty values where there is no
     * entry. */
    virtual void save(IPersistDestination* target) const;

    /** Adds the array's entries to what is there; without an array the plain keys are the active
     * environment's. */
    virtual void load(IPersistDestination* source);

    /** Adds the active environment's values to `set`, the password in clear text. */
    virtual void properties(tqgen::PropertySet& set) const;

    /** Takes an edited property into the active environment, without a signal. Returns whether it
     * was one of ours. */
    virtual bool updateField(const tqgen::BaseProperty& property);

    /** Copies the values of all environments to `target`, without a signal. */
    virtual void deepCopy(NetworkProxy* target) const;

    /** Removes the plain keys from the current group; the array stays. */
    void remove(IPersistDestination* target) const;

    bool useProxy() const;
    QString proxyAddress() const;
    int proxyPort() const;
    QString proxyUser() const;
    QString proxyPassword() const;
    bool saveProxyPassword() const;

    /** The setters emit proxyDataChanged() on a change; kept: setSaveProxyPassword() does not. */
    void setUseProxy(bool on);
    void setProxyAddress(const QString& address, int port);
    void setProxyUser(const QString& user, const QString& password);
    void setSaveProxyPassword(bool save);

public slots:
    virtual void removeEnvironmentEntry(const EnvironmentID& id);

    /** Gives environment `id` the active environment's values. */
    virtual void copyFromActiveEnvironment(const EnvironmentID& id);

signals:
    void proxyDataChanged();

protected:
    /** Returns the id of the active environment. */
    static QString activeEnvironment();

    /** Returns the ids of the database's environments in the order of their list. */
    static QStringList environmentIds();

private:
    void loadPlainKeys(IPersistDestination* source);

    QMap<QString, QString> m_addresses;
    QMap<QString, int> m_ports;
    QMap<QString, bool> m_uses;
    QMap<QString, UserAndPassword> m_credentials;
};

} // namespace tq
