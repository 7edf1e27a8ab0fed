// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <memory>

class QTemporaryDir;

namespace tst {

/** What a call of the program ended with. */
struct Run
{
    int code = -1;
    QByteArray out;
    QByteArray error;

    QJsonObject document() const { return QJsonDocument::fromJson(out).object(); }
    QJsonArray items() const { return document()[QLatin1String("items")].toArray(); }
    QJsonObject item(int i = 0) const { return items()[i].toObject(); }
};

QByteArray contentOf(const QString& path);
void write(const QString& path, const QByteArray& content);

/** Returns the id that the simulated driver gives a device which its site does not know. */
QByteArray simulatedId(const QByteArray& address);

/** A test that calls the program in a folder of its own. */
class ProgramTest : public QObject
{
public:
    ProgramTest();
    ~ProgramTest() override;

protected:
    /** Begins anew in an empty folder. */
    void begin();

    QString path(const char* name) const;
    Run run(const QStringList& arguments, const QByteArray& input = QByteArray(),
        QProcess::ProcessChannelMode mode = QProcess::SeparateChannels) const;

    /** The same with JSON output on the test's store; arguments are separated by blanks. */
    Run onStore(const QByteArray& arguments, const QByteArray& input = QByteArray()) const;

    /** Returns the hash of every file in the folder by its name, but for those that stores are
     * locked with. */
    QMap<QString, QByteArray> hashes() const;

    QString m_store; ///< "devices.db" in the folder

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

} // namespace tst
