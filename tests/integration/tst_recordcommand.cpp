// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
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
        m_ids.append(onStore(add).id());
}

void TestRecordCommand::foldersAreMadeOnceAndKept()
{
    setPath();
    QCOMPARE(onStore("settings set --password-stdin RecordingFolderPassword", k_canary).code, 0);
    const auto row = [](const Run& run, int i) {
        const QJsonObject item = run.item(i);
        return QStringList{ item[u"Device"_s].toString(), item[u"Folder"_s].toString(),
            item[u"Path"_s].toString(), item[u"New"_s].toBool() ? u"new"_s : u"old"_s };
    };
    const auto expected = [this](int camera, const char* age) {
        const QString id = QString::fromUtf8(m_ids[camera]);
        return QStringList{ id, u"rec:"_s + id, u"/srv/records"_s, text(age) };
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
    QVERIFY(isInStore(k_canary));
    const QByteArray said = first.said() + both.said() + onCameras("show rec:OTHER").said();
    QVERIFY(!said.contains(k_canary) && !said.contains(k_canary.toBase64()));
    // The path is wanted for new folders only.
    QCOMPARE(onStore("settings set RecordingFolderPath ").code, 0);
    QCOMPARE(onCameras("record CAMERA").code, 0);
}

void TestRecordCommand::refusedCallsNameTheValueAndChangeNothing_data()
{
    tst::addRefusals({
        { "record CAMERA", 1, "settings set RecordingFolderPath PATH" },
        { "record CAMERA nobody", 1, "\"nobody\"" },
        { "record CAMERA rec:OTHER", 1, "is a recording folder itself" },
        { "--plugins plugins record CAMERA", 1, "(RecordingFolderNode) is missing" },
        { "record", 2, "record ID" },
    });
}

void TestRecordCommand::refusedCallsNameTheValueAndChangeNothing()
{
    if (QTest::currentDataTag() != "record CAMERA"_ba) {
        setPath();
        QCOMPARE(onCameras("record OTHER").code, 0);
    }
    const QString driver = u"/libipcamera.so"_s; // of cameras only
    QVERIFY(QDir().mkdir(path("plugins")));
    QVERIFY(QFile::copy(text(PLUGIN_FOLDER) + driver, path("plugins") + driver));
    verifyRefusal([this](const QByteArray& call) { return onCameras(call); });
}

QTEST_GUILESS_MAIN(TestRecordCommand)
#include "tst_recordcommand.moc"
