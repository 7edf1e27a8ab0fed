// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Shows 10,000 nodes in 100 views, types a letter into the filter and renames a node, each beside a
// QStandardItemModel with the same rows under a plain QSortFilterProxyModel, alternating:
// bench_views [NODES [PAIRS]]. Then the filter once more with more and more relations.
#include "devices/ipdevicenode.h"
#include "nodestore/nodedb.h"
#include "shared/fakenode.h"
#include "timing.h"
#include "views/nodeentry.h"
#include "views/nodeview.h"
#include "views/nodeviewmodel.h"
#include "views/nodeviewproxymodel.h"
#include "views/nodeviews.h"

#include <QGuiApplication>
#include <QStandardItemModel>

#include <cstdio>
#include <vector>

using namespace tq;

namespace {

constexpr int k_views = 100;

template <class Work>
double milliseconds(Work work)
{
    return 1000 * seconds(work);
}

QString nodeId(int i)
{
    return QStringLiteral("mac:0200%1").arg(i, 8, 16, QLatin1Char('0'));
}

QString nodeName(int i)
{
    return QStringLiteral("Camera %1 %2").arg(i).arg(i % 7 == 0 ? u"at the yard" : u"on a roof");
}

void fill(NodeViews& views, int nodes)
{
    QList<tqm::smart<NodeView>> all;
    for (int i = 0; i < k_views; ++i)
        all.append(tqm::smart<NodeView>(new NodeView(QStringLiteral("View %1").arg(i))));
    for (int i = 0; i < nodes; ++i) {
        auto* const node =
            new tst::DeviceNode(nodeId(i), QStringLiteral("10.0.%1.%2").arg(i / 250).arg(i % 250));
        node->setName(nodeName(i));
        NodeDB::getDB()->insertNode(node);
        all[i % k_views]->append(NodeView::Entry(new NodeEntry(nodeId(i))));
    }
    for (const auto& view : all)
        views.root()->append(view);
}

/** Reads every row with its text, as a tree with everything expanded does. */
int readAll(const QAbstractItemModel& model, const QModelIndex& parent = {})
{
    const int rows = model.rowCount(parent);
    int count = rows;
    for (int row = 0; row < rows; ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        index.data().toString();
        if (!model.flags(index).testFlag(Qt::ItemNeverHasChildren))
            count += readAll(model, index);
    }
    return count;
}

struct Times
{
    std::vector<double> build;
    std::vector<double> filter;
    std::vector<double> rename;
    int rows = 0;
    int changes = 0;
};

void measureViews(NodeViews& views, Times& times)
{
    std::unique_ptr<NodeViewModel> model;
    std::unique_ptr<NodeViewProxyModel> proxy;
    times.build.push_back(milliseconds([&] {
        model = std::make_unique<NodeViewModel>(*NodeDB::getDB(), views.root());
        proxy = std::make_unique<NodeViewProxyModel>(*model);
        times.rows = readAll(*proxy);
    }));
    times.filter.push_back(milliseconds([&] {
        proxy->setFilterText(QStringLiteral("y"));
        readAll(*proxy);
    }));
    proxy->setFilterText(QString());
    readAll(*proxy);
    times.changes = 0;
    QObject::connect(model.get(), &QAbstractItemModel::dataChanged, model.get(),
        [&](const QModelIndex& first, const QModelIndex& last) {
            times.changes += last.row() - first.row() + 1;
        });
    Node* const copy = NodeDB::getDB()->beginUpdateNode(nodeId(4711), 0);
    copy->setName(nodeName(4711) + QString::number(times.rename.size()));
    times.rename.push_back(milliseconds([&] { NodeDB::getDB()->endUpdateNode(copy); }));
}

void measurePeer(int nodes, Times& times)
{
    QStandardItemModel model;
    QSortFilterProxyModel proxy;
    QStandardItem* some = nullptr;
    times.build.push_back(milliseconds([&] {
        std::vector<QStandardItem*> all;
        for (int i = 0; i < k_views; ++i) {
            all.push_back(new QStandardItem(QStringLiteral("View %1").arg(i)));
            model.appendRow(all.back());
        }
        for (int i = 0; i < nodes; ++i) {
            auto* const item = new QStandardItem(nodeName(i));
            item->setFlags(item->flags() | Qt::ItemNeverHasChildren);
            item->setData(nodeId(i), eEntryIdRole);
            all[size_t(i % k_views)]->appendRow(item);
            if (i == 4711)
                some = item;
        }
        proxy.setRecursiveFilteringEnabled(true);
        proxy.setSortLocaleAware(true);
        proxy.setSourceModel(&model);
        proxy.sort(0);
        times.rows = readAll(proxy);
    }));
    times.filter.push_back(milliseconds([&] {
        proxy.setFilterFixedString(QStringLiteral("y"));
        readAll(proxy);
    }));
    proxy.setFilterFixedString(QString());
    readAll(proxy);
    const QString name = some->text() + QLatin1Char('x');
    times.rename.push_back(milliseconds([&] { some->setText(name); }));
}

void print(const char* what, const std::vector<double>& ours, const std::vector<double>& peer)
{
    std::printf("%-8s %10.3f %12.3f %8.1f\n", what, median(ours), median(peer),
        median(ours) / median(peer));
}

void measureRelations(NodeViews& views, int nodes)
{
    NodeViewModel model(*NodeDB::getDB(), views.root());
    NodeViewProxyModel proxy(model);
    readAll(proxy);
    for (int factor = 0; factor <= 4; ++factor) {
        for (int i = 0; factor > 0 && i < nodes; ++i)
            NodeDB::getDB()->addNodeRelation(
                nodeId(i), QStringLiteral("rec%1:%2").arg(factor).arg(i), eDeviceToRecordingFolder);
        std::vector<double> filter;
        for (int i = 0; i < 5; ++i) {
            proxy.setFilterText(QString());
            filter.push_back(milliseconds([&] { proxy.setFilterText(QStringLiteral("y")); }));
        }
        std::printf("filter with %6d relations: %8.3f ms\n", factor * nodes, median(filter));
    }
    proxy.setFilterText(QString());
    const double removed = milliseconds([] { NodeDB::getDB()->removeAllNodes(); });
    std::printf("removing all %d nodes, shown and related: %.3f ms\n", nodes, removed);
}

} // namespace

int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    const int nodes = argc > 1 ? QByteArray(argv[1]).toInt() : 10000;
    const int pairs = argc > 2 ? QByteArray(argv[2]).toInt() : 7;
    NodeViews views(*NodeDB::getDB());
    fill(views, nodes);
    Times ours;
    Times peer;
    for (int i = 0; i < pairs; ++i) {
        measureViews(views, ours);
        measurePeer(nodes, peer);
    }
    std::printf("%d nodes, %d and %d rows shown, %d alternating pairs, medians in ms\n", nodes,
        ours.rows, peer.rows, pairs);
    std::printf("%-8s %10s %12s %8s\n", "", "NodeView", "StandardItem", "ratio");
    print("build", ours.build, peer.build);
    print("filter", ours.filter, peer.filter);
    print("rename", ours.rename, peer.rename);
    std::printf("rows that a rename touched: %d\n", ours.changes);
    measureRelations(views, nodes);
}
