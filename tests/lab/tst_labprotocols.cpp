// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs inside tools/lab with the default site: whoever announces itself, answers WS-Discovery or
// serves shares.
#include "lab/labprogram.h"

#include <QJsonObject>
#include <QTest>

using tst::rowsWith;
using tst::tellLab;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

const QString k_camera = QStringLiteral("10.77.0.17"); ///< announced as quay7
const QString k_lockedCamera = QStringLiteral("10.77.0.18"); ///< asks for admin's login
const QString k_openCamera = QStringLiteral("10.77.0.19");
const QString k_storage = QStringLiteral("10.77.0.20"); ///< announced as barn10

bool isWithout(const char* service)
{
    return qEnvironmentVariable("LAB_WITHOUT").split(QLatin1Char(' ')).contains(text(service));
}

/** What smbclient, which knows nothing of us, can do: "full", "read" or "none". */
QString rightsBySmbclient(const QString& share, const QString& user, const QString& password)
{
    const auto run = [&](const QString& command) {
        QProcess client;
        client.start(text("smbclient"),
            { text("//") + k_storage + text("/") + share, text("-U"), user + text("%") + password,
                text("-c"), command });
        client.waitForFinished(tst::k_labPatience);
        return client.exitCode() == 0;
    };
    if (!run(text("ls")))
        return text("none");
    return run(text("put /etc/hostname probe; rm probe")) ? text("full") : text("read");
}

} // namespace

class TestLabProtocols : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void announcedDevicesAreStored();
    void withdrawnServicesAreLostAndARestartLosesNothing();
    void onvifWinsAndTellsTheModel();
    void loginsGoOnlyWhereTheyBelong();
    void sharesAndRightsAreThoseOfTheServer();

private:
    QJsonObject stored(const QString& address);
    QJsonArray scan(const QStringList& options);

    std::unique_ptr<tst::LabProgram> m_program;
};

void TestLabProtocols::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("LAB_CONTROL"), "run this by tools/lab");
}

void TestLabProtocols::init()
{
    m_program = std::make_unique<tst::LabProgram>();
}

QJsonObject TestLabProtocols::stored(const QString& address)
{
    const QJsonArray rows = rowsWith(m_program->items({ text("list") }), "IP", address);
    if (rows.isEmpty())
        qWarning("not stored: %s", qPrintable(address));
    return rows.isEmpty() ? QJsonObject() : rows.first().toObject();
}

QJsonArray TestLabProtocols::scan(const QStringList& options)
{
    const QJsonArray rows =
        m_program->items(QStringList{ text("scan"), text("--for"), text("10") } + options);
    if (m_program->exitCode() != 0)
        qWarning("%s", qPrintable(m_program->said()));
    return rows;
}

void TestLabProtocols::announcedDevicesAreStored()
{
    if (isWithout("avahi"))
        QSKIP("the lab is without avahi; its --verbose says why");
    QCOMPARE(rowsWith(scan({ text("--scanner"), text("dnssd") }), "Event", text("new")).size(), 2);
    const QJsonObject camera = stored(k_camera);
    QCOMPARE(camera[text("Name")], QJsonValue(text("quay7")));
    QCOMPARE(camera[text("NodeType")], QJsonValue(2));
    QCOMPARE(camera[text("Port")], QJsonValue(80));
    QCOMPARE(camera[text("ModelInfo")], QJsonValue(text("GK-300")));
    const QJsonObject storage = stored(k_storage);
    QCOMPARE(storage[text("Name")], QJsonValue(text("barn10")));
    QCOMPARE(storage[text("NodeType")], QJsonValue(4));
    QCOMPARE(storage[text("Port")], QJsonValue(445));
}

void TestLabProtocols::withdrawnServicesAreLostAndARestartLosesNothing()
{
    if (isWithout("avahi"))
        QSKIP("the lab is without avahi; its --verbose says why");
    QProcess scanning;
    m_program->start(scanning, { text("scan"), text("--scanner"), text("dnssd") });
    QString output;
    QVERIFY2(tst::waitForRows(scanning, output, text("^new "), 2), qPrintable(output));
    QCOMPARE(tellLab(text("withdraw quay7")).last(), text("ok"));
    QVERIFY2(
        tst::waitForRows(scanning, output, text("^gone +10\\.77\\.0\\.17 ")), qPrintable(output));
    QCOMPARE(tellLab(text("restart-avahi")).last(), text("ok"));
    QCOMPARE(tellLab(text("announce quay7")).last(), text("ok"));
    QVERIFY2(
        tst::waitForRows(scanning, output, text("^known +10\\.77\\.0\\.17 ")), qPrintable(output));
    scanning.terminate();
    QVERIFY(scanning.waitForFinished(tst::k_labPatience));
    output += QString::fromUtf8(scanning.readAllStandardOutput());
    QCOMPARE(scanning.exitCode(), 0);
    QCOMPARE(output.count(text("\ngone ")), 1);
    QVERIFY2(output.contains(text("2 found, 2 of them new, 1 lost")), qPrintable(output));
    QCOMPARE(m_program->items({ text("list") }).size(), 2);
}

void TestLabProtocols::onvifWinsAndTellsTheModel()
{
    scan({});
    const QJsonObject camera = stored(k_openCamera);
    QCOMPARE(camera[text("ModelInfo")], QJsonValue(text("Moorlight ML-60")));
    const QJsonObject shown =
        m_program->items({ text("show"), camera[text("ID")].toString() }).first().toObject();
    QCOMPARE(shown[text("SoftwareVersion")], QJsonValue(text("6.0.2")));
    QCOMPARE(shown[text("SerialNumber")], QJsonValue(text("ML6000123")));
    QCOMPARE(shown[text("MAC")], QJsonValue(text("02:77:0a:4d:00:13")));

    // Each device once, whoever met it.
    for (const QString& address : { k_camera, k_lockedCamera, k_openCamera, k_storage })
        QCOMPARE(rowsWith(m_program->items({ text("list") }), "IP", address).size(), 1);
    // The same device, by its address alone, beside one that has nothing but a page.
    m_program = std::make_unique<tst::LabProgram>();
    const QJsonObject document = m_program->document({ text("scan"), text("--scanner"), text("arp"),
        text("--for"), text("5"), text("--trace") });
    const auto rankOf = [&](const QString& address) {
        const QJsonArray stories = rowsWith(document[text("trace")].toArray(), "IP", address);
        const QJsonArray drivers = stories[0][text("Drivers")].toArray();
        const QJsonArray ours = rowsWith(drivers, "Name", text("ipcamera"));
        return ours[0][text("Answers")][0][text("Result")].toInt();
    };
    QCOMPARE(rankOf(k_openCamera), 10);
    QCOMPARE(rankOf(text("10.77.0.11")), 50);
}

void TestLabProtocols::loginsGoOnlyWhereTheyBelong()
{
    scan({ text("--sweep") });
    QCOMPARE(tellLab(text("logins moor8")).first(), text("none"));
    const QJsonObject camera = stored(k_lockedCamera);
    const QString id = camera[text("ID")].toString();
    QVERIFY(!camera[text("ModelInfo")].toString().contains(text("ML-61")));
    const auto giveLogin = [&](const QByteArray& password) {
        m_program->items(
            { text("set"), id, text("User=admin"), text("--password-stdin") }, password + '\n');
        QVERIFY2(m_program->exitCode() == 0, qPrintable(m_program->said()));
    };
    giveLogin("wet & cold");
    m_program->items({ text("read"), id });
    QCOMPARE(m_program->exitCode(), 1);
    QVERIFY2(m_program->said().contains(text("refused the login")), qPrintable(m_program->said()));
    QVERIFY(!m_program->said().contains(text("wet")));
    QCOMPARE(stored(k_lockedCamera)[text("ModelInfo")], camera[text("ModelInfo")]);
    giveLogin("warm & dry");
    m_program->items({ text("read"), id });
    QVERIFY2(m_program->exitCode() == 0, qPrintable(m_program->said()));
    QCOMPARE(stored(k_lockedCamera)[text("ModelInfo")], QJsonValue(text("Moorlight ML-61")));
    QVERIFY(!tellLab(text("logins moor8")).contains(text("none")));
}

void TestLabProtocols::sharesAndRightsAreThoseOfTheServer()
{
    if (isWithout("smb"))
        QSKIP("the lab is without smb; its --verbose says why");
    if (rowsWith(scan({}), "IP", k_storage).isEmpty())
        QSKIP("the driver of network storage was not built");
    const QString id = stored(k_storage)[text("ID")].toString();
    const auto run = [&](const QStringList& command, const QByteArray& input = {}) {
        const QJsonArray items = m_program->items(command, input);
        if (m_program->exitCode() != 0)
            qInfo("%s", qPrintable(m_program->said()));
        return items;
    };
    const QStringList read{ text("nas"), text("read"), id };
    const QStringList login{ text("set"), id, text("User=anna"), text("--password-stdin") };
    run(login, "barn-door\n");
    run(read);
    QCOMPARE(m_program->exitCode(), 1);
    QVERIFY2(m_program->said().contains(text("anna")), qPrintable(m_program->said()));
    QVERIFY(!m_program->said().contains(text("barn-door")));
    QVERIFY(run({ text("nas"), text("shares"), id }).isEmpty());

    run(login, "hay-loft\n");
    run({ text("nas"), text("users"), id, text("add"), text("ben"), text("--password-stdin") },
        "pitch fork\n");
    const QJsonArray shares = run(read);
    QCOMPARE(shares.size(), 3);
    const QMap<QString, QString> passwords{ { text("anna"), text("hay-loft") },
        { text("ben"), text("pitch fork") } };
    for (const QJsonValue& share : shares) {
        for (auto user = passwords.cbegin(); user != passwords.cend(); ++user) {
            const bool isFull = share[text("Full")].toArray().contains(user.key());
            const bool mayRead = share[text("ReadOnly")].toArray().contains(user.key());
            const QString ours = isFull ? text("full") : mayRead ? text("read") : text("none");
            const QString name = share[text("Share")].toString();
            QCOMPARE(name + user.key() + ours,
                name + user.key() + rightsBySmbclient(name, user.key(), user.value()));
        }
    }
}

QTEST_GUILESS_MAIN(TestLabProtocols)
#include "tst_labprotocols.moc"
