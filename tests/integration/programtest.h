// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "shared/files.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <functional>
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
    QByteArray id(int i = 0) const { return item(i)[QLatin1String("ID")].toString().toUtf8(); }
    QByteArray said() const { return out + error; }
};

/** Returns the id that the simulated driver gives a device which its site does not know. */
QByteArray simulatedId(const QByteArray& address);

/** A call that is to fail, the code it ends with, and what its refusal names. */
struct Refusal
{
    const char* call;
    int code;
    const char* named;
};

/** Makes the rows for ProgramTest::verifyRefusal(). */
void addRefusals(std::initializer_list<Refusal> rows);

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

    /** The same with output for people. */
    Run inWords(const QByteArray& arguments, char separator = ' ') const;

    /** Verifies that the row's call, made by `make` with JSON output, is refused with a sentence
     * that names what it should, and changes no file. */
    void verifyRefusal(const std::function<Run(const QByteArray&)>& make) const;

    /** Returns whether a secret can be read from the store, plain or as the store encodes it. */
    bool isInStore(const QByteArray& secret) const;

    /** Returns the hash of every file in the folder by its name, but for those that stores are
     * locked with. */
    QMap<QString, QByteArray> hashes() const;

    QString m_store; ///< "devices.db" in the folder

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

} // namespace tst
