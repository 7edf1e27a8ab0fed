// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "contract/persistdestinationcontract.h"

#include <QTest>

class TestMemoryDestination : public tst::PersistDestinationContract
{
    Q_OBJECT
public:
    TestMemoryDestination() : PersistDestinationContract(QStringLiteral("memory:"), QString()) { }

private slots:
    void kindsOfStoresAreRecognised_data();
    void kindsOfStoresAreRecognised();
};

void TestMemoryDestination::kindsOfStoresAreRecognised_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("path");
    QTest::newRow("memory") << QStringLiteral("memory:") << QString();
    QTest::newRow("SQLite") << QStringLiteral("sqlite:/x/y") << QStringLiteral("/x/y");
    QTest::newRow("INI") << QStringLiteral("ini:x.db") << QStringLiteral("x.db");
    QTest::newRow("by its ending") << QStringLiteral("/x/Y.DB") << QStringLiteral("/x/Y.DB");
    QTest::newRow("other ending") << QStringLiteral("/x/y.txt") << QString();
    QTest::newRow("no path") << QStringLiteral("sqlite:") << QString();
    QTest::newRow("other scheme") << QStringLiteral("file:/x/y") << QString();
}

void TestMemoryDestination::kindsOfStoresAreRecognised()
{
    QFETCH(QString, url);
    QFETCH(QString, path);
    QCOMPARE(tq::storeFilePath(url), path);
    if (path.isEmpty() && url != QStringLiteral("memory:")) {
        QString error;
        QVERIFY(!tq::openStore(url, &error));
        QVERIFY2(error.contains(url), qPrintable(error));
    }
}

int main(int argc, char* argv[])
{
    TestMemoryDestination test;
    return tst::runContract(argc, argv, test);
}

#include "tst_memorydestination.moc"
