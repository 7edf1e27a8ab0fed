// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "contract/filestorecontract.h"
#include "contract/scripts.h"
#include "persistence/memorydestination.h"
#include "persistence/packedtree_p.h"
#include "shared/files.h"
#include "shared/logcapture.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSqlDestination : public tst::FileStoreContract
{
    Q_OBJECT
public:
    TestSqlDestination() : FileStoreContract(u"sqlite:"_s, u"devices.db"_s) { }

private slots:
    void oneRowPerEntry();
    void readersSeeOneStateAndWritersDoNotHang();
    void aDamagedNameIsNoticed();
    void numbersAreUsedAgainAfterTheHighest();
    void foreignDatabasesAreRefused_data();
    void foreignDatabasesAreRefused();
    void damagedRowsAreReportedAndTheOthersRead_data();
    void damagedRowsAreReportedAndTheOthersRead();
    void anyDamageToARowIsSurvived();
    void deletedSecretsLeaveTheFile();

private:
    /** Runs statements on the file behind the store's back; returns the last one's first value. */
    QVariant run(const QStringList& statements, const QVariant& bound = QVariant())
    {
        QVariant result;
        {
            auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"t"_s);
            database.setDatabaseName(m_path);
            if (!database.open())
                qFatal("no database");
            QSqlQuery query(database);
            for (const QString& statement : statements) {
                query.prepare(statement);
                if (bound.isValid())
                    query.addBindValue(bound);
                if (!query.exec())
                    qFatal("%s", qPrintable(statement));
            }
            result = query.next() ? query.value(0) : QVariant();
        }
        QSqlDatabase::removeDatabase(u"t"_s);
        return result;
    }

    void writeStore(int devices)
    {
        const auto store = open();
        tst::writeDevices(*store, devices);
        store->sync();
        QVERIFY(store->isUsable());
    }
};

void TestSqlDestination::oneRowPerEntry()
{
    writeStore(10);
    // Ten entries, the values of the root and those of the group.
    QCOMPARE(run({ u"SELECT count(*) FROM rows"_s }).toInt(), 12);
}

void TestSqlDestination::readersSeeOneStateAndWritersDoNotHang()
{
    writeStore(3);
    const auto reader = open(tq::OpenMode::ReadOnly);
    QCOMPARE(reader->value(u"Old"_s), QVariant(u"none"_s));
    const auto writer = open();
    const tst::LogCapture log;
    writer->remove(u"Devices"_s);
    writer->sync();
    QVERIFY(writer->errorString().contains(m_path));
    QVERIFY(!log.linesWith(m_path).isEmpty());
    reader->beginGroup(u"Devices"_s);
    QCOMPARE(reader->beginReadArray(u"Devices"_s), 3);
    reader->endArray();
    reader->endGroup();

    reader->endReading();
    writer->remove(u"Devices"_s);
    writer->sync();
    QVERIFY2(writer->isUsable(), qPrintable(writer->errorString()));
    reader->beginGroup(u"Devices"_s);
    QCOMPARE(reader->beginReadArray(u"Devices"_s), 0);
}

void TestSqlDestination::aDamagedNameIsNoticed()
{
    writeStore(1);
    QFile file(m_path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    const QByteArray bytes = file.readAll();
    for (const qsizetype at : { bytes.indexOf("Window"), bytes.lastIndexOf("Window") }) {
        QVERIFY(file.seek(at) && file.putChar('w') && file.flush());
        QVERIFY(!tq::openStore(m_url));
        QVERIFY(file.seek(at) && file.putChar('W') && file.flush());
    }
    QVERIFY(tq::openStore(m_url));
}

void TestSqlDestination::numbersAreUsedAgainAfterTheHighest()
{
    writeStore(2);
    run({ u"INSERT INTO names VALUES (2147483646, 'x')"_s,
        u"INSERT INTO containers VALUES (2147483646, '/x')"_s });
    auto store = open();
    tq::MemoryDestination model;
    for (tq::IPersistDestination* to : { static_cast<tq::IPersistDestination*>(&model),
             static_cast<tq::IPersistDestination*>(store.get()) }) {
        to->remove(u"Devices"_s);
        tst::writeDevices(*to, 3);
        to->setValue(u"new"_s, 1);
        to->beginGroup(u"G"_s);
        to->setValue(u"new, too"_s, 1);
        to->endGroup();
    }
    store = reopened(std::move(store));
    QCOMPARE(tst::flat(store->tree()), tst::flat(model.tree()));
}

void TestSqlDestination::foreignDatabasesAreRefused_data()
{
    QTest::addColumn<QString>("statement");
    QTest::newRow("no table of ours") << u"DROP TABLE store"_s;
    QTest::newRow("a later format") << u"UPDATE store SET format = 2"_s;
    QTest::newRow("a trigger")
        << u"CREATE TRIGGER t AFTER INSERT ON rows BEGIN DELETE FROM rows; END"_s;
    const QString row = u"UPDATE rows SET id = %1 WHERE id % 4294967296 = 1"_s;
    QTest::newRow("an index too high") << row.arg(u"id | (1 << 31)"_s);
    QTest::newRow("a row before all containers") << row.arg(u"-id"_s);
    QTest::newRow("a row of no container") << row.arg(u"id | (1 << 60)"_s);
    QTest::newRow("a container too high") << u"INSERT INTO containers VALUES (2147483647, '/x')"_s;
    QTest::newRow("a name too high") << u"INSERT INTO names VALUES (2147483647, 'x')"_s;
    QTest::newRow("a name twice")
        << u"DROP INDEX texts\nINSERT INTO names SELECT 1000, name FROM names LIMIT 1"_s;
}

void TestSqlDestination::foreignDatabasesAreRefused()
{
    QFETCH(QString, statement);
    writeStore(1);
    run(statement.split(u'\n'));
    QString error;
    QVERIFY(!tq::openStore(m_url, &error));
    QVERIFY2(error.contains(m_path), qPrintable(error));
}

void TestSqlDestination::damagedRowsAreReportedAndTheOthersRead_data()
{
    QTest::addColumn<QByteArray>("row");
    const auto bytes = [](std::initializer_list<int> numbers) {
        QByteArray result;
        for (const int number : numbers)
            result += char(number);
        return result;
    };
    QTest::newRow("empty") << ""_ba;
    QTest::newRow("a huge length") << bytes({ 5, 0xff, 0xff, 0xff, 0xff, 0x7f, 'a' });
    QTest::newRow("a number without end") << QByteArray(40, '\xff');
    QTest::newRow("a huge list") << bytes({ 5, 5, 'L', 0xff, 0xff, 0xff, 0x7f, 0 });
    QTest::newRow("groups without end") << QByteArray(100000, '\6');
    QTest::newRow("lists without end")
        << bytes({ 5, 0xc0, 0x9a, 0xc }) + "L\1"_ba.repeated(100000) + bytes({ 0 });
    QTest::newRow("bytes left over") << bytes({ 0, 0 });
    QTest::newRow("an entry outside an array") << bytes({ 8, 0, 0 });
    QTest::newRow("an entry twice") << bytes({ 7, 1, 4, 0, 4, 0, 0, 0 });
    QTest::newRow("an array beyond its entries") << bytes({ 7, 5, 4, 0, 0, 0 });
    QTest::newRow("a name without a text") << bytes({ 0x9d, 0x1f, 1, 't', 0 });
    QTest::newRow("no int") << bytes({ 5, 6, 'i', 0xff, 0xff, 0xff, 0xff, 0x7f, 0 });
    QTest::newRow("a number of too many bits")
        << bytes({ 5, 11, 'U' }) + QByteArray(9, '\xff') + bytes({ 2, 0 });
    QTest::newRow("a stream that nests") << bytes({ 5, 7, 'v', 5, 0, 0, 0, 28, 0, 0 });
}

void TestSqlDestination::damagedRowsAreReportedAndTheOthersRead()
{
    QFETCH(QByteArray, row);
    writeStore(3);
    // The row of the array's first entry.
    run({ u"UPDATE rows SET data = ? WHERE id % 4294967296 = 2"_s }, row);
    const tst::LogCapture log;
    const auto store = open();
    const tq::StoreNode tree = store->tree();
    QVERIFY(store->isDamaged());
    QVERIFY(!store->isUsable());
    QCOMPARE(log.linesWith(u"Devices"_s).size(), 1);
    const auto& devices = tree.groups.at(u"Devices"_s).arrays.at(u"Devices"_s);
    QCOMPARE(devices.size, 3);
    QCOMPARE(devices.entries.at(2).values.at(u"ID"_s), QVariant(u"id-2"_s));
}

void TestSqlDestination::anyDamageToARowIsSurvived()
{
    tq::PackedTree tree;
    const auto values = tst::valuesOfEveryType();
    const auto array = tree.make(tree.k_root, tq::PackedTree::eArray, 7);
    for (int i = 0; i < values.size(); ++i) {
        if (values[i].toString().size() < 1000)
            tree.setValue(tree.make(array, tq::PackedTree::eEntry, quint32(i)), 1, values[i]);
    }
    std::string packed;
    tree.pack(packed);
    const auto nameOf = [](quint32 id) { return QString::number(id); };
    const auto isName = [](quint32 id) { return id == 1 || id == 7; };
    const auto read = [&](const std::string& bytes, bool& isOk) {
        tq::PackedTree other;
        isOk = other.unpack(QByteArray::fromStdString(bytes), isName);
        return other.node(nameOf, isOk);
    };
    bool isOk = false;
    const bool isSame = read(packed, isOk) == tree.node(nameOf, isOk);
    QVERIFY(isSame && isOk);
    for (std::size_t i = 0; i < packed.size(); ++i) {
        read(packed.substr(0, i), isOk);
        QVERIFY(!isOk);
        for (const int change : { 1, 0x80, 0xff }) {
            std::string damaged = packed;
            damaged[i] = char(damaged[i] ^ change);
            read(damaged, isOk);
        }
    }
}

void TestSqlDestination::deletedSecretsLeaveTheFile()
{
    writeStore(50);
    const auto store = open();
    store->remove(u"Devices"_s);
    store->sync();
    QVERIFY(!tst::contentOf(m_path).contains("secret"));
}

int main(int argc, char* argv[])
{
    TestSqlDestination test;
    return tst::runContract(argc, argv, test);
}

#include "tst_sqldestination.moc"
