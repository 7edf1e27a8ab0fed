// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QLocalServer>

class QLocalSocket;

namespace lab {

class Lab;

/** Takes commands for the lab on a unix socket: one line each, answered in order by "ok" or "error
 * …". */
class Control : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Control)

public:
    explicit Control(Lab& lab);

    /** Listens at @p path; returns what went wrong, empty when nothing did. */
    [[nodiscard]] QString listen(const QString& path);

private:
    void welcome();
    void takeInput(QLocalSocket* socket);
    void obey(QLocalSocket* socket, const QString& line);

    Lab& m_lab;
    QLocalServer m_server;
};

} // namespace lab
