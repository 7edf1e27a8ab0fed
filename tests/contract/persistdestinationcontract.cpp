// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "contract/persistdestinationcontract.h"

#include "contract/scripts.h"
#include "persistence/memorydestination.h"
#include "shared/logcapture.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QTest>
#include <QTextStream>

#include <cstdio>

using namespace tst;

namespace tst {

QStringList flat(const tq::StoreNode& node, const QString& path)
{
    QStringList lines;
    for (const auto& [key, value] : node.values) {
        QString text = value.toString();
        if (value.typeId() != QMetaType::QString && value.typeId() != QMetaType::Int) {
            QByteArray bytes;
            QDataStream stream(&bytes, QIODevice::WriteOnly);
            stream << value;
            text += QLatin1String(bytes.toHex());
        }
        const QLatin1String type(value.typeName());
        lines += path + key + QLatin1Char('=') + type + QLatin1Char(' ') + text;
    }
    for (const auto& [name, group] : node.groups)
        lines += flat(group, path + name + QLatin1Char('/'));
    for (const auto& [name, array] : node.arrays) {
        lines += path + name + QStringLiteral("#%1").arg(array.size);
        for (const auto& [index, entry] : array.entries)
            lines += flat(entry, path + name + QStringLiteral("[%1]/").arg(index));
    }
    return lines;
}

int runContract(int argc, char* argv[], QObject& test)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const bool dumps = arguments.value(1) == QStringLiteral("--dump");
    if (!dumps && arguments.value(1) != QStringLiteral("--write"))
        return QTest::qExec(&test, argc, argv);
    QTextStream out(stdout);
    const auto store = tq::openStore(
        arguments.value(2), nullptr, dumps ? tq::OpenMode::ReadOnly : tq::OpenMode::Create);
    if (!store)
        return 2;
    if (dumps) {
        out << flat(store->tree()).join(QLatin1Char('\n'));
        return 0;
    }
    store->remove(QStringLiteral("Old"));
    writeDevices(*store, 2000);
    out << "written" << Qt::endl;
    return std::getchar(); // until it is killed
}

} // namespace tst

PersistDestinationContract::PersistDestinationContract(
    const QString& urlStart, const QString& fileName)
    : m_urlStart(urlStart), m_fileName(fileName)
{
}

void PersistDestinationContract::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath(m_fileName);
    m_url = m_fileName.isEmpty() ? m_urlStart : m_urlStart + m_path;
}

std::unique_ptr<tq::IStore> PersistDestinationContract::open(tq::OpenMode mode)
{
    QString error;
    auto store = tq::openStore(m_url, &error, mode);
    if (!store)
        qFatal("%s", qPrintable(error));
    return store;
}

std::unique_ptr<tq::IStore> PersistDestinationContract::reopened(std::unique_ptr<tq::IStore> store)
{
    store->sync();
    if (!store->isUsable())
        qFatal("%s", qPrintable(store->errorString()));
    if (m_fileName.isEmpty())
        return store;
    store.reset();
    return open();
}

void PersistDestinationContract::scriptsLeaveTheirTree_data()
{
    addScripts();
}

void PersistDestinationContract::scriptsLeaveTheirTree()
{
    QFETCH(Script, script);
    QFETCH(QStringList, tree);
    auto store = open();
    script(*store);
    QCOMPARE(flat(store->tree()), tree);
    store = reopened(std::move(store));
    QCOMPARE(flat(store->tree()), tree);
}

void PersistDestinationContract::valuesKeepTheirTypes()
{
    const QVariantList values = valuesOfEveryType();
    auto store = open();
    store->beginWriteArray(QStringLiteral("Values"));
    for (int i = 0; i < values.size(); ++i) {
        store->setArrayIndex(i);
        store->setValue(QStringLiteral("V"), values[i]);
    }
    store->endArray();
    store = reopened(std::move(store));
    QCOMPARE(store->beginReadArray(QStringLiteral("Values")), int(values.size()));
    for (int i = 0; i < values.size(); ++i) {
        store->setArrayIndex(i);
        QVERIFY2(store->contains(QStringLiteral("V")), qPrintable(QString::number(i)));
        const QVariant value = store->value(QStringLiteral("V"), QStringLiteral("absent"));
        QCOMPARE(value.metaType(), values[i].metaType());
        QCOMPARE(value, values[i]);
    }
    store->endArray();
}

void PersistDestinationContract::readingFindsWhatIsThereAndDefaults()
{
    auto store = open();
    writeDevices(*store, 3);
    store = reopened(std::move(store));
    QCOMPARE(store->beginReadArray(QStringLiteral("None")), 0);
    store->setArrayIndex(0);
    QCOMPARE(store->value(QStringLiteral("ID"), 7), QVariant(7));
    store->endArray();
    store->beginGroup(QStringLiteral("Devices"));
    QCOMPARE(store->beginReadArray(QStringLiteral("Devices")), 3);
    for (const int i : { 2, 0, 1 }) {
        store->setArrayIndex(i);
        QCOMPARE(store->value(QStringLiteral("ID")), QVariant(QStringLiteral("id-%1").arg(i)));
        QVERIFY(!store->contains(QStringLiteral("id")));
        store->beginGroup(QStringLiteral("Port"));
        QCOMPARE(store->beginReadArray(QStringLiteral("Environment")), 2);
        store->setArrayIndex(1);
        QCOMPARE(store->value(QStringLiteral("Port")), QVariant(80 + i));
        store->endArray();
        store->endGroup();
    }
    store->endArray();
    store->endGroup();
    QVERIFY(store->isUsable());
}

void PersistDestinationContract::unmatchedCallsAreLoggedAndHarmless_data()
{
    addUnmatchedCalls();
}

void PersistDestinationContract::unmatchedCallsAreLoggedAndHarmless()
{
    QFETCH(Script, script);
    QFETCH(QStringList, tree);
    auto store = open();
    const LogCapture log;
    script(*store);
    store->sync();
    QCOMPARE(log.linesWith(QStringLiteral("2 Store: ")).size(), 1);
    QCOMPARE(flat(store->tree()), tree);
}

void PersistDestinationContract::behavesAsTheMemoryStoreUnderRandomCalls_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 12; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

void PersistDestinationContract::behavesAsTheMemoryStoreUnderRandomCalls()
{
    QFETCH(quint32, seed);
    tq::MemoryDestination model;
    auto store = open();
    for (quint32 round = 0; round < 4; ++round) {
        callAtRandom({ &model, store.get() }, seed * 100 + round);
        QCOMPARE(flat(store->tree()), flat(model.tree()));
        store = reopened(std::move(store));
        QCOMPARE(flat(store->tree()), flat(model.tree()));
    }
}

void PersistDestinationContract::putReplacesAndCopyCarriesEverything()
{
    auto store = open();
    writeDevices(*store, 3);
    const QString devices = QStringLiteral("Devices");
    const tq::StoreLocation second{ { devices }, { devices, 1 } };
    const tq::StoreLocation fifth{ { devices }, { devices, 4 } };
    const tq::StoreNode device = store->tree({ { devices }, { devices, 2 } });
    tq::putNode(*store, *store, second, device);
    tq::putNode(*store, *store, fifth, device);
    tq::StoreNode small;
    small.values[QStringLiteral("Only")] = 1;
    tq::putNode(*store, *store, { { devices }, { devices, 0 } }, small);
    store = reopened(std::move(store));
    QVERIFY(store->tree(second) == device);
    QVERIFY(store->tree(fifth) == device);
    QVERIFY(store->tree({ { devices }, { devices, 0 } }) == small);
    QVERIFY(store->tree({ { devices }, { devices, 9 } }) == tq::StoreNode());

    tq::MemoryDestination copy;
    tq::copyStore(*store, copy);
    QCOMPARE(flat(copy.tree()), flat(store->tree()));
}
