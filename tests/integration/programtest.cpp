// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"

#include <QCryptographicHash>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

namespace tst {

namespace {

constexpr int k_patience = 30000; // ms

} // namespace

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

QByteArray simulatedId(const QByteArray& address)
{
    return "uuid:" + QUuid::createUuidV5(QUuid(), address).toByteArray(QUuid::WithoutBraces);
}

ProgramTest::ProgramTest() = default;

ProgramTest::~ProgramTest() = default;

void ProgramTest::begin()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_store = path("devices.db");
}

QString ProgramTest::path(const char* name) const
{
    return m_folder->filePath(QString::fromUtf8(name));
}

Run ProgramTest::run(
    const QStringList& arguments, const QByteArray& input, QProcess::ProcessChannelMode mode) const
{
    QProcess process;
    process.setProcessChannelMode(mode);
    process.setWorkingDirectory(m_folder->path());
    process.start(QStringLiteral(NODEDB_PROGRAM), arguments);
    process.write(input);
    process.closeWriteChannel();
    // Not blocked meanwhile: devices of the test's own answer the program.
    QSignalSpy ended(&process, &QProcess::finished);
    if (process.state() != QProcess::NotRunning && !ended.wait(k_patience))
        return {};
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
        process.readAllStandardOutput(), process.readAllStandardError() };
}

Run ProgramTest::onStore(const QByteArray& arguments, const QByteArray& input) const
{
    return run(QStringList{ QStringLiteral("--json"), QStringLiteral("--store"), m_store }
            + QString::fromUtf8(arguments).split(QLatin1Char(' ')),
        input);
}

QMap<QString, QByteArray> ProgramTest::hashes() const
{
    QMap<QString, QByteArray> result;
    QStringList names = QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden);
    names.removeIf([](const QString& name) { return name.endsWith(QStringLiteral(".lock")); });
    for (const QString& name : std::as_const(names))
        result[name] = QCryptographicHash::hash(
            contentOf(m_folder->filePath(name)), QCryptographicHash::Sha256);
    return result;
}

} // namespace tst
