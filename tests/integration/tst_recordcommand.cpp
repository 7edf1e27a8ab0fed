// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QDir>
#include <QTest>

using tst::Run;
using tst::text;

namespace {

const QByteArray k_canary = "Kanari\xc3\xa4-7261";

} // namespace

class TestRecordCommand : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init();

    void foldersAreMadeOnceAndKept();
    void refusedCallsNameTheValueAndChangeNothing_data();
    void refusedCallsNameTheValueAndChangeNothing();

private:
    /** "CAMERA" and "OTHER" stand for the ids of the cameras. */
    Run onCameras(QByteArray arguments, const QByteArray& input = QByteArray()) const
    {
        return onStore(arguments.replace("CAMERA", m_ids[0]).replace("OTHER", m_ids[1]), input);
    }

    void setPath() { QCOMPARE(onStore("settings set RecordingFolderPath /srv/records/").code, 0); }

    QByteArrayList m_ids;
};

void TestRecordCommand::init()
{
    begin();
    m_ids.clear();
    for (const char* add : { "add 192.0.2.5 --type 2", "add 192.0.2.6 --type 2" })
        m_ids.append(onStore(add).item()[text("ID")].toString().toUtf8());
}

void TestRecordCommand::foldersAreMadeOnceAndKept()
{
    setPath();
    QCOMPARE(onStore("settings set --password-stdin RecordingFolderPassword", k_canary).code, 0);
    const auto row = [](const Run& run, int i) {
        const QJsonObject item = run.item(i);
        return QStringList{ item[text("Device")].toString(), item[text("Folder")].toString(),
            item[text("Path")].toString(), item[text("New")].toBool() ? text("new") : text("old") };
    };
    const auto expected = [this](int camera, const char* age) {
        const QString id = QString::fromUtf8(m_ids[camera]);
        return QStringList{ id, text("rec:") + id, text("/srv/records"), text(age) };
    };
    const Run first = onCameras("record CAMERA");
    QCOMPARE(first.code, 0);
    QCOMPARE(row(first, 0), expected(0, "new"));
    // Another process; an id that is named twice counts once.
    const Run both = onCameras("record CAMERA OTHER CAMERA");
    QCOMPARE(both.items().size(), 2);
    QCOMPARE(row(both, 0), expected(0, "old"));
    QCOMPARE(row(both, 1), expected(1, "new"));
    QCOMPARE(onCameras("relations OTHER").items().size(), 2);
    QVERIFY(tst::contentOf(m_store).contains(k_canary.toBase64()));
    const Run shown = onCameras("show rec:OTHER");
    const QByteArray said = first.out + both.out + shown.out + first.error + both.error;
    QVERIFY(!said.contains(k_canary) && !said.contains(k_canary.toBase64()));
    // The path is wanted for new folders only.
    QCOMPARE(onStore("settings set RecordingFolderPath ").code, 0);
    QCOMPARE(onCameras("record CAMERA").code, 0);
}

void TestRecordCommand::refusedCallsNameTheValueAndChangeNothing_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<bool>("isPathSet");
    QTest::addColumn<QByteArray>("named");
    const auto row = [](const char* call, bool isPathSet, const char* named) {
        QTest::newRow(call) << QByteArray(call) << isPathSet << QByteArray(named);
    };
    row("record CAMERA", false, "settings set RecordingFolderPath PATH");
    row("record CAMERA nobody", true, "\"nobody\"");
    row("record CAMERA rec:OTHER", true, "is a recording folder itself");
    row("--plugins PLUGINS record CAMERA", true, "(RecordingFolderNode) is missing");
    row("record", true, "record ID");
}

void TestRecordCommand::refusedCallsNameTheValueAndChangeNothing()
{
    QFETCH(QByteArray, call);
    QFETCH(bool, isPathSet);
    QFETCH(QByteArray, named);
    if (isPathSet) {
        setPath();
        QCOMPARE(onCameras("record OTHER").code, 0);
    }
    const QString plugins = path("plugins"); // with a driver of cameras only
    const QString driver = text("/libipcamera.so");
    QVERIFY(QDir().mkdir(plugins));
    QVERIFY(QFile::copy(text(PLUGIN_FOLDER) + driver, plugins + driver));
    call.replace("PLUGINS", plugins.toUtf8());
    const auto before = hashes();
    const Run run = onCameras(call);
    QCOMPARE(run.code, call == "record" ? 2 : 1);
    QVERIFY2(run.error.contains(named), run.error);
    QCOMPARE(run.items().size(), 0);
    QCOMPARE(hashes(), before);
}

QTEST_GUILESS_MAIN(TestRecordCommand)
#include "tst_recordcommand.moc"
