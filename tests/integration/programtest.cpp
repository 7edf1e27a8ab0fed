// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"

#include <QCryptographicHash>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace tst {

namespace {

constexpr int k_patience = 60000; // ms

} // namespace

QByteArray simulatedId(const QByteArray& address)
{
    return "uuid:" + QUuid::createUuidV5(QUuid(), address).toByteArray(QUuid::WithoutBraces);
}

void addRefusals(std::initializer_list<Refusal> rows)
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("named");
    for (const Refusal& row : rows)
        QTest::newRow(row.call) << QByteArray(row.call) << row.code << QByteArray(row.named);
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
    return run(QStringList{ u"--json"_s, u"--store"_s, m_store }
            + QString::fromUtf8(arguments).split(u' '),
        input);
}

Run ProgramTest::inWords(const QByteArray& arguments, char separator) const
{
    return run(QStringList{ u"--store"_s, m_store }
        + QString::fromUtf8(arguments).split(QLatin1Char(separator)));
}

void ProgramTest::verifyRefusal(const std::function<Run(const QByteArray&)>& make) const
{
    QFETCH(QByteArray, call);
    QFETCH(int, code);
    QFETCH(QByteArray, named);
    const auto before = hashes();
    const Run ended = make(call);
    QCOMPARE(ended.code, code);
    QVERIFY2(ended.error.contains(named), ended.error);
    const QJsonObject document = ended.document();
    QCOMPARE(document["ok"_L1], QJsonValue(false));
    QVERIFY2(document["error"_L1].toString().toUtf8().contains(named), ended.out);
    QCOMPARE(ended.items().size(), 0);
    QCOMPARE(hashes(), before);
}

bool ProgramTest::isInStore(const QByteArray& secret) const
{
    const QByteArray content = contentOf(m_store);
    return content.contains(secret.toBase64()) || content.contains(secret);
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
