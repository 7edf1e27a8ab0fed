// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace lab {

/** Which logins a device was given: scheme and user, never a password. The last 1,000 are kept. */
class LoginLog
{
public:
    /** Takes the value of an Authorization header. */
    void takeHeader(const QByteArray& value);

    /** Takes a login that came by another way. */
    void take(const QString& scheme, const QString& user);

    /** Returns one line per login, "scheme user"; "none" when there was none. */
    QString toString() const;

private:
    QStringList m_lines;
};

} // namespace lab
