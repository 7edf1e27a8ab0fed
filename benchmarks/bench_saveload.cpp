// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Saves and loads 10,000 IP devices on SQLite and INI, alternating, everything synced to disk, and
// prints medians and ratios: bench_saveload [NODES [PAIRS]].
#include "devices/ipdevicenode.h"
#include "nodestore/nodedb.h"
#include "persistence/storefactory.h"
#include "shared/fakedriver.h"
#include "shared/fakenode.h"
#include "timing.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <vector>

using namespace tq;

namespace {

void fill(int nodes)
{
    NodeDB* const db = NodeDB::getDB();
    for (int i = 0; i < nodes; ++i) {
        auto* const node =
            new tst::DeviceNode(QStringLiteral("mac:0200%1").arg(i, 8, 16, QLatin1Char('0')),
                QStringLiteral("10.0.%1.%2").arg(i / 250).arg(i % 250));
        node->setName(QStringLiteral("camera %1").arg(i));
        node->setUser(QStringLiteral("user"), QStringLiteral("password"));
        db->insertNode(node);
    }
}

struct Times
{
    std::vector<double> save;
    std::vector<double> load;
};

/** Saves the database into a new store at `path`, then loads it into a fresh database. */
void measure(const QString& path, int nodes, Times& times)
{
    NodeDB::freeDB();
    fill(nodes);
    times.save.push_back(seconds([&] { NodeDB::getDB()->save(openStore(path, nullptr, OpenMode::Create).get(), false); }));
    NodeDB::freeDB();
    NodeDB* const db = NodeDB::getDB();
    times.load.push_back(
        seconds([&] { db->load(openStore(path, nullptr, OpenMode::ReadOnly).get()); }));
    if (db->nodeIdList().size() != nodes)
        std::printf("lost nodes: %lld of %d\n", qint64(db->nodeIdList().size()), nodes);
    NodeDB::freeDB();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const int nodes = argc > 1 ? QByteArray(argv[1]).toInt() : 10000;
    const int pairs = argc > 2 ? QByteArray(argv[2]).toInt() : 5;
    tst::FakeDriver driver(QStringLiteral("bench"), { { tst::k_deviceType, 1 } });
    const QTemporaryDir folder(
        QCoreApplication::applicationDirPath() + QStringLiteral("/bench-XXXXXX"));
    Times sqlite;
    Times ini;
    for (int i = 0; i < pairs; ++i) {
        measure(folder.filePath(QStringLiteral("%1.db").arg(i)), nodes, sqlite);
        measure(folder.filePath(QStringLiteral("%1.ini").arg(i)), nodes, ini);
    }
    std::printf("%d IP devices, %d alternating pairs, medians in s\n", nodes, pairs);
    std::printf("save  sqlite %.3f  ini %.3f  ratio %.1f\n", median(sqlite.save), median(ini.save),
        median(ini.save) / median(sqlite.save));
    std::printf("load  sqlite %.3f  ini %.3f  ratio %.1f\n", median(sqlite.load), median(ini.load),
        median(ini.load) / median(sqlite.load));
}
