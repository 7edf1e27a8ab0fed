// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/nasdevice/givenlogins_p.h"

#include <QCryptographicHash>
#include <QStringList>

namespace tq {

namespace {

QByteArray hashOf(const QStringList& parts)
{
    return QCryptographicHash::hash(
        parts.join(QChar(QChar::Null)).toUtf8(), QCryptographicHash::Sha256);
}

QByteArray loginKeyOf(const NASDeviceNode& node)
{
    const UserAndPassword login = loginOf(node);
    return hashOf({ login.user, login.password });
}

} // namespace

UserAndPassword loginOf(const NASDeviceNode& node)
{
    return { node.user(false), node.password(false), node.savePassword() };
}

QByteArray reachOf(const NASDeviceNode& node)
{
    const UserAndPassword login = loginOf(node);
    return hashOf({ node.hostAddress(), QString::number(node.port()), login.user, login.password });
}

bool GivenLogins::see(const NASDeviceNode& node, const QString& activeUser)
{
    const auto known = m_known.constFind(node.id());
    const QByteArray login = loginKeyOf(node);
    const bool isGiven =
        known != m_known.cend() && known->activeUser == activeUser && known->login != login;
    m_known.insert(node.id(), { activeUser, login });
    if (isGiven)
        give(node.id(), reachOf(node));
    return isGiven;
}

void GivenLogins::give(const NodeID& id, const QByteArray& reach)
{
    m_given.insert(id, reach);
}

bool GivenLogins::use(const NASDeviceNode& node)
{
    return m_given.take(node.id()) == reachOf(node);
}

void GivenLogins::forget(const NodeID& id)
{
    m_known.remove(id);
    m_given.remove(id);
}

void GivenLogins::clear()
{
    m_known.clear();
    m_given.clear();
}

} // namespace tq
