// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "environments/networkproxy.h"

#include <QStringList>

namespace tq {

/**
 * The database's own proxy, with a list of exceptions per environment: addresses that are reached
 * directly.
 *
 * An exception is a regular expression in QRegExp syntax, case-sensitive, that must match the whole
 * address. List operations are about the active environment. deepCopy() does not carry exceptions.
 */
class NODEDB_EXPORT GlobalNetworkProxy : public NetworkProxy
{
    Q_OBJECT

public:
    GlobalNetworkProxy();
    ~GlobalNetworkProxy() override;
    Q_DISABLE_COPY_MOVE(GlobalNetworkProxy)

    QStringList exceptions() const;

    /** Returns the exceptions joined by `separator`. */
    QString exceptionsAssembled(QChar separator) const;

    /** Splits `text` at `separator`, keeping empty parts, and stores the result. Emits
     * globalProxyDataChanged(). */
    void setExceptions(const QString& text, QChar separator);

    /** Stores `list`. Emits globalProxyDataChanged(). */
    void setExceptions(const QStringList& list);

    /** Appends an exception, present or not. Emits globalProxyDataChanged(). */
    void addException(const QString& pattern);

    /** Removes every occurrence. Emits globalProxyDataChanged() when there was one. */
    void removeException(const QString& pattern);

    /** Returns whether `pattern` matches the whole of `address`; an invalid pattern matches
     * nothing. Any thread. */
    static bool checkException(const QString& address, const QString& pattern);

    /**
     * Returns why `pattern` matches no address at all, for people: a sentence that names it,
     * without a full stop. Empty when nothing is wrong with it. The list takes every text; programs
     * refuse such a pattern where it is entered. Any thread.
     */
    static QString exceptionError(const QString& pattern);

    /** Returns whether any exception matches `address`. */
    bool isAffectedFromExceptions(const QString& address) const;

    void save(IPersistDestination* target) const override;
    void load(IPersistDestination* source) override;
    void properties(tqgen::PropertySet& set) const override;
    bool updateField(const tqgen::BaseProperty& property) override;

    /** Removes the plain keys of the base and the exceptions from the current group. */
    void remove(IPersistDestination* target) const;

public slots:
    void removeEnvironmentEntry(const EnvironmentID& id) override;
    void copyFromActiveEnvironment(const EnvironmentID& id) override;

signals:
    void globalProxyDataChanged();

private:
    QMap<QString, QStringList> m_exceptions;
};

} // namespace tq
