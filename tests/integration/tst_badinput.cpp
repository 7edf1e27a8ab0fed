// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"

#include <QTest>

class TestBadInput : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init();

    void valuesAreJudged_data();
    void valuesAreJudged();

private:
    QByteArray m_made; ///< the store with two nodes that each row begins with
    QByteArray m_id;
    QByteArray m_other;
};

void TestBadInput::init()
{
    begin();
    tst::write(path("file"), "no folder");
    if (!m_made.isEmpty())
        return tst::write(m_store, m_made);
    m_id = onStore("add 192.0.2.5 --type 2").id();
    m_other = onStore("add 192.0.2.6 --type 2").id();
    QCOMPARE(onStore("set " + m_other + " MAC=02:00:00:00:00:06").code, 0);
    m_made = tst::contentOf(m_store);
}

void TestBadInput::valuesAreJudged_data()
{
    QTest::addColumn<QByteArray>("call"); // arguments with bars between them
    QTest::addColumn<QByteArray>("named"); // by the refusal; nothing: the value is right
    const auto refused = [](const char* call, const char* named) {
        QTest::newRow(call) << QByteArray(call) << QByteArray(named);
    };
    const auto taken = [&](const char* call) { refused(call, ""); };
    refused("set|ID|IP=999.1.1.1", "999.1.1.1");
    refused("set|ID|IP=1.2.3", "\"1.2.3\"");
    refused("set|ID|IP=0x7f000001", "0x7f000001");
    refused("set|ID|IP=foo bar", "\"foo bar\"");
    refused("set|ID|IP=cam..example", "cam..example");
    refused("set|ID|IP=fe80::1::2", "fe80::1::2");
    refused("set|ID|IP=", "\"\"");
    refused("set|ID|ProxyAddress=foo bar", "\"foo bar\"");
    refused("add|192.0.2.9:8080|--type|2", "\"192.0.2.9:8080\"");
    refused("add|http://x|--type|2", "\"http://x\"");
    refused("settings|set|TransponderIP|1.2.3", "\"1.2.3\"");
    taken("set|ID|IP=fe80::1%eth0");
    taken("set|ID|IP=t\u00fcr-1.example.");
    taken("set|ID|ProxyAddress=");
    refused("set|ID|Port=0", "\"0\"");
    refused("settings|set|ProxyPort|-1", "\"-1\"");
    refused("set|ID|Name=", "\"\"");
    refused("set|ID|Name= ", "\" \"");
    refused("add|192.0.2.9|--type|2|--name|", "\"\"");
    refused("set|ID|Name=x|MAC=00:11", "\"00:11\"");
    refused("set|ID|MAC=02:00:00:00:00:06", "OTHER");
    refused("set|ID|IP=192.0.2.6", "OTHER");
    taken("set|ID|MAC=02:00:00:00:00:06|IP=192.0.2.6|--force");
    taken("set|ID|IP=192.0.2.6|Port=81");
    taken("set|OTHER|IP=192.0.2.6|Note=its own");
    refused("list|--type|77", "type 77");
    taken("list|--type|0");
    refused("relate|ID|99|OTHER", "type 99");
    refused("--option|a/b=c|list", "\"a/b\"");
    refused("--option|simulated/sight=c|--simulate|small|list", "are: simulated/site");
    refused("--plugins|nope|list", "\"nope\"");
    refused("--plugins|file|list", "\"file\"");
    refused("settings|set|TransponderQuality|400", "0 to 100, not \"400\"");
    refused("settings|set|TransponderFramerate|0", "\"0\"");
    refused("settings|set|TransponderResolutionX|-320", "\"-320\"");
    refused("settings|set|RecordingFolderPath|records", "\"records\"");
    refused("settings|set|RecordingFolderPath|FOLDER/file/records", "/file\" is no folder");
    refused("settings|set|RecordingFolderPath|/a\nb", "\\u000a");
    taken("settings|set|RecordingFolderPath|FOLDER/new/records");
    taken("settings|set|RecordingFolderPath|\\\\barn\\records");
    taken("settings|set|RecordingFolderPath|smb://barn/records");
    refused("settings|set|Exceptions|10\\..*|*.local", "\"*.local\"");
    // A negative number is a value, whatever follows it.
    taken("settings|set|Bandwidth|-1|--verbose");
    refused("view|add|Yard|--at|-1", "\"-1\"");
}

void TestBadInput::valuesAreJudged()
{
    QFETCH(QByteArray, call);
    QFETCH(QByteArray, named);
    const auto filled = [this](QByteArray text) {
        return text.replace("OTHER", m_other)
            .replace("ID", m_id)
            .replace("FOLDER", path("").toUtf8());
    };
    const auto before = hashes();
    const tst::Run ended = inWords(filled(call), '|');
    QCOMPARE(ended.code == 0, named.isEmpty());
    if (named.isEmpty())
        return;
    QVERIFY2(ended.error.contains(filled(named)), ended.error);
    QCOMPARE(ended.error.count('\n'), 1);
    QCOMPARE(hashes(), before);
}

QTEST_GUILESS_MAIN(TestBadInput)
#include "tst_badinput.moc"
