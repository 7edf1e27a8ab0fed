// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs inside tools/lab with the site of eight devices, of which five answer a probe.
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int k_scanSeconds = 10;
constexpr int k_patience = 60000; // ms

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/** Sends one line to the lab and returns the lines of its answer, the last one "ok". */
QStringList tellLab(const QByteArray& line)
{
    QLocalSocket socket;
    socket.connectToServer(qEnvironmentVariable("LAB_CONTROL"));
    socket.write(line + '\n');
    QByteArray answer;
    while (!answer.endsWith("ok\n") && !answer.contains("error ") && socket.waitForReadyRead())
        answer += socket.readAll();
    return QString::fromUtf8(answer.trimmed()).split(QLatin1Char('\n'));
}

/** What a device is known by: "address MAC port". */
QString known(const QString& address, const QString& mac, int port)
{
    return text("%1 %2 %3").arg(address, mac).arg(port);
}

} // namespace

class TestLabScan : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void storesExactlyTheDevicesThatAnswer();
    void knowsThemAgainAndSeesAChangedAddress();

private:
    QStringList arguments(const QStringList& more) const;
    QJsonArray items(const QStringList& command);
    QStringList stored();
    QStringList events(const QJsonArray& rows, const char* event) const;

    QTemporaryDir m_folder;
    QStringList m_expected;
};

void TestLabScan::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("LAB_CONTROL"), "run this by tools/lab");
    for (const QString& line : tellLab("list")) {
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        if (words.size() == 5 && words.at(4).startsWith(text("http")))
            m_expected.append(known(words.at(1), words.at(3), words.at(2).toInt()));
    }
    m_expected.sort();
    QCOMPARE(m_expected.size(), 5);
}

QStringList TestLabScan::arguments(const QStringList& more) const
{
    return QStringList{ text("--store"), text("sqlite:") + m_folder.filePath(text("devices.db")) }
    + more;
}

QJsonArray TestLabScan::items(const QStringList& command)
{
    QProcess program;
    program.start(QCoreApplication::applicationDirPath() + text("/nodedb"),
        arguments(QStringList(text("--json")) + command));
    if (!program.waitForFinished(k_patience) || program.exitCode() != 0)
        qWarning("%s", program.readAllStandardError().constData());
    const QJsonObject document = QJsonDocument::fromJson(program.readAllStandardOutput()).object();
    return document[text("items")].toArray();
}

QStringList TestLabScan::stored()
{
    QStringList result;
    for (const QJsonValue& item : items({ text("list") }))
        result.append(known(
            item[text("IP")].toString(), item[text("MAC")].toString(), item[text("Port")].toInt()));
    result.sort();
    return result;
}

QStringList TestLabScan::events(const QJsonArray& rows, const char* event) const
{
    QStringList result;
    for (const QJsonValue& row : rows) {
        if (row[text("Event")].toString() == text(event))
            result.append(row[text("IP")].toString());
    }
    return result;
}

void TestLabScan::storesExactlyTheDevicesThatAnswer()
{
    const QJsonArray rows =
        items({ text("scan"), text("--sweep"), text("--for"), QString::number(k_scanSeconds) });
    QCOMPARE(events(rows, "new").size(), 5);
    QCOMPARE(events(rows, "not ours").size(), 3);
    QCOMPARE(stored(), m_expected);
}

void TestLabScan::knowsThemAgainAndSeesAChangedAddress()
{
    QProcess scan;
    scan.start(QCoreApplication::applicationDirPath() + text("/nodedb"),
        arguments({ text("scan"), text("--for"), QString::number(k_scanSeconds) }));
    QString output;
    const auto waitFor = [&](const QRegularExpression& row, int count) {
        while (output.count(row) < count && scan.waitForReadyRead(k_patience))
            output += QString::fromUtf8(scan.readAllStandardOutput());
        return output.count(row) == count;
    };
    const auto row = [](const char* pattern) {
        return QRegularExpression(text(pattern), QRegularExpression::MultilineOption);
    };
    QVERIFY2(waitFor(row("^known "), 5), qPrintable(output));
    QCOMPARE(tellLab("address cam1 10.77.0.99").last(), text("ok"));
    QVERIFY2(waitFor(row("^changed +10\\.77\\.0\\.99 "), 1), qPrintable(output));
    QVERIFY(scan.waitForFinished(k_patience));
    output += QString::fromUtf8(scan.readAllStandardOutput());
    QCOMPARE(scan.exitCode(), 0);
    QVERIFY2(!output.contains(row("^new ")), qPrintable(output));
    QStringList expected = m_expected.replaceInStrings(text("10.77.0.11 "), text("10.77.0.99 "));
    expected.sort();
    QCOMPARE(stored(), expected);
}

QTEST_GUILESS_MAIN(TestLabScan)
#include "tst_labscan.moc"
