// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QProcess>
#include <QStringList>

namespace tst {

/**
 * A second network namespace with two links to this one, with IPv4 and IPv6: here0 (10.78.0.1) to
 * there0 (10.78.0.2), and here1 (10.78.1.1) to there1 (10.78.1.2). Works inside tools/lab; ends
 * with this object.
 */
class SecondNetwork
{
public:
    enum ESide { eHere, eThere };

    SecondNetwork() = default;
    ~SecondNetwork();
    Q_DISABLE_COPY_MOVE(SecondNetwork)

    /** Returns why it could not be made; empty when it stands. */
    QString make();

    /** What comes before a command that is to run there. */
    QStringList enter() const;

    /** Runs a command of the shell on one side and returns whether it worked. */
    bool run(const QString& command, ESide side) const;

private:
    QProcess m_holder;
};

} // namespace tst
