// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QTest>

#include <array>
#include <csignal>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

using tst::Run;
using tst::text;

namespace {

const QByteArray k_secret = "Sesam-4711";

/** A terminal whose other side is this test. */
struct Terminal
{
    Terminal() { QCOMPARE(::openpty(&other, &own, name.data(), nullptr, nullptr), 0); }
    ~Terminal() { ::close(own), ::close(other); }
    Q_DISABLE_COPY_MOVE(Terminal)

    bool type(const QByteArray& keys)
    {
        return ::write(other, keys.constData(), std::size_t(keys.size())) == keys.size();
    }

    bool echoes() const
    {
        termios state{};
        return ::tcgetattr(own, &state) == 0 && (state.c_lflag & ECHO) != 0;
    }

    int own = -1;
    int other = -1;
    std::array<char, 64> name{};
};

} // namespace

class TestPasswords : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void whatIsTypedAheadCounts();
    void theTerminalIsPutBack_data();
    void theTerminalIsPutBack();
    void anEmptyPasswordHasToBeSaid_data();
    void anEmptyPasswordHasToBeSaid();

private:
    void start(QProcess& process, const Terminal& terminal) const
    {
        process.setStandardInputFile(text(terminal.name.data()));
        process.start(text(NODEDB_PROGRAM),
            text("--store %1 add 192.0.2.5 --type 2 --unchecked --user joe")
                .arg(m_store)
                .split(QLatin1Char(' ')));
    }
};

void TestPasswords::whatIsTypedAheadCounts()
{
    Terminal terminal;
    QVERIFY(terminal.type(k_secret + '\n'));
    QProcess process;
    start(process, terminal);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(tst::contentOf(m_store).contains(k_secret.toBase64()));
    QVERIFY(terminal.echoes());
}

void TestPasswords::theTerminalIsPutBack_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<QByteArray>("keys");
    QTest::newRow("SIGTERM") << SIGTERM << QByteArray();
    QTest::newRow("SIGHUP") << SIGHUP << QByteArray();
    QTest::newRow("Ctrl-C") << 0 << QByteArray("x\x03");
}

void TestPasswords::theTerminalIsPutBack()
{
    QFETCH(int, signal);
    QFETCH(QByteArray, keys);
    Terminal terminal;
    QProcess process;
    start(process, terminal);
    process.setReadChannel(QProcess::StandardError);
    QByteArray said;
    while (!said.contains("password of") && process.waitForReadyRead())
        said += process.readAllStandardError();
    QVERIFY(said.contains("password of"));
    QVERIFY(!terminal.echoes()); // before anybody is asked
    QVERIFY(terminal.type(keys));
    if (signal != 0)
        ::kill(pid_t(process.processId()), signal);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus() == QProcess::CrashExit, signal != 0);
    QVERIFY(process.exitCode() != 0);
    QVERIFY(terminal.echoes());
    QVERIFY(hashes().isEmpty());
}

void TestPasswords::anEmptyPasswordHasToBeSaid_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<int>("code");
    const auto row = [](const char* call, int code) {
        QTest::newRow(call) << QByteArray(call) << code;
    };
    row("set ID Password --password-stdin", 1);
    row("set ID --password-file empty", 1);
    row("set ID --password-file .", 1);
    row("set ID --no-password --password-stdin", 2);
    row("set ID --no-password", 0);
    row("add 192.0.2.6 --type 2 --unchecked --user joe", 1);
    row("add 192.0.2.6 --type 2 --unchecked --user joe --password-stdin", 1);
    row("add 192.0.2.6 --type 2 --unchecked --user joe --no-password", 0);
    row("settings set GlobalPassword --password-stdin", 1);
    row("settings set GlobalPassword --no-password", 0);
}

void TestPasswords::anEmptyPasswordHasToBeSaid()
{
    QFETCH(QByteArray, call);
    QFETCH(int, code);
    tst::write(path("empty"), "\n");
    const Run added = onStore(
        "add 192.0.2.5 --type 2 --unchecked --user joe --password-stdin", k_secret + "\nmore");
    QCOMPARE(added.code, 0);
    call.replace("ID", added.item()[text("ID")].toString().toUtf8());
    const auto before = hashes();
    const Run ended = onStore(call);
    QCOMPARE(ended.code, code);
    QCOMPARE(hashes() == before, code != 0);
    QCOMPARE(ended.error.contains("--no-password"), code != 0 && !call.endsWith("file ."));
}

QTEST_GUILESS_MAIN(TestPasswords)
#include "tst_passwords.moc"
