// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Random changes of database, relations and views, and random drops, with both models watched: they
// must announce each change rightly, and show in the end what a plain walk over the views gives.
#include "modelwatch.h"
#include "shared/databasefixture.h"
#include "shared/viewtext.h"
#include "views/nodeviewmodel.h"
#include "views/nodeviewproxymodel.h"
#include "views/nodeviews.h"

#include "platform/exceptions.h"

#include <QCollator>
#include <QMimeData>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace tq;
using tst::rowText;
using tst::text;
using View = tqm::smart<NodeView>;

namespace {

constexpr int k_operations = 10000;
constexpr int k_nodes = 12;
constexpr int k_views = 7;

/** What a model should show, by the simplest walk. */
class Expected
{
public:
    Expected(const NodeDB& db, const QString& filter) : m_db(db), m_filter(filter)
    {
        m_collator.setNumericMode(true);
        m_collator.setCaseSensitivity(Qt::CaseInsensitive);
    }

    QString rows(const QList<NodeView::Entry>& entries, bool isSorted = false) const
    {
        QStringList parts;
        for (const auto& entry : entries) {
            const View view(entry);
            parts.append(view.null() ? name(entry)
                                     : view->name() + text("(")
                        + (isSorted ? sorted(view->entries()) : rows(view->entries())) + text(")"));
        }
        return parts.join(text(", "));
    }

    /** Returns the root's entries, and with them the nodes that stand in none of the views. */
    static QList<NodeView::Entry> withUnplaced(const NodeDB& db, const NodeViews& views)
    {
        auto entries = views.root()->entries();
        QSet<QString> placed;
        for (const View& view : views.all() + QList<View>{ views.root() }) {
            for (const auto& entry : view->entries())
                placed.insert(entry->id());
        }
        const View unplaced(new NodeView(text("Not in a view")));
        for (const QString& id : db.nodeIdList()) {
            if (!placed.contains(id)
                && !db.isDestinationOfNodeRelation(id, eDeviceToRecordingFolder))
                unplaced->append(tst::entry(id));
        }
        if (unplaced->count() > 0)
            entries.append(unplaced);
        return entries;
    }

    QString sorted(QList<NodeView::Entry> entries) const
    {
        entries.removeIf([&](const auto& entry) { return !isShown(entry); });
        std::sort(entries.begin(), entries.end(), [&](const auto& left, const auto& right) {
            const bool isLeftView = !View(left).null();
            if (isLeftView != !View(right).null())
                return isLeftView;
            const int order = m_collator.compare(name(left), name(right));
            return order != 0 ? order < 0 : left->id() < right->id();
        });
        return rows(entries, true);
    }

private:
    QString name(const NodeView::Entry& entry) const
    {
        const View view(entry);
        const auto node = m_db.node(entry->id());
        return !view.null() ? view->name() : node.null() ? entry->id() : node->name();
    }

    bool isShown(const NodeView::Entry& entry) const
    {
        const bool isMatch = name(entry).contains(m_filter);
        const View view(entry);
        if (view.null())
            return isMatch
                && !m_db.isDestinationOfNodeRelation(entry->id(), eDeviceToRecordingFolder);
        const auto entries = view->entries();
        return isMatch || std::any_of(entries.begin(), entries.end(), [&](const auto& e) {
            return isShown(e);
        });
    }

    const NodeDB& m_db;
    QString m_filter;
    QCollator m_collator{ QLocale(QLocale::English, QLocale::UnitedStates) };
};

/** Does things at random to everything. */
class Chaos
{
public:
    explicit Chaos(quint32 seed) : m_random(seed)
    {
        for (int i = 0; i < k_views; ++i)
            m_all.append(
                View(new NodeView(QStringLiteral("v%1").arg(i), QStringLiteral("view %1").arg(i))));
    }

    void step()
    {
        try {
            const int what = below(10);
            if (what < 2)
                changeNode();
            else if (what < 3)
                changeRelation();
            else if (what < 6)
                changeView(below(4) == 0 ? *views.root() : *any(m_all));
            else if (what < 8)
                drag(anyModel());
            else if (what < 9)
                lookAround();
            else
                QCoreApplication::processEvents();
        } catch (const IllegalArgumentException& e) {
            ++m_refused[e.message().left(9)];
        }
    }

    QString compare()
    {
        QCoreApplication::processEvents();
        const Expected expected(*f.db, proxy.filterText());
        const auto top = model.showsUnplacedNodes() ? Expected::withUnplaced(*f.db, views)
                                                    : views.root()->entries();
        if (rowText(model) != expected.rows(top))
            return text("model ") + rowText(model) + text(" not ") + expected.rows(top);
        if (rowText(proxy) != expected.sorted(top))
            return text("proxy ") + rowText(proxy) + text(" not ") + expected.sorted(top);
        return QString();
    }

    int resets() const { return watch.resets() + proxyWatch.resets(); }
    int refused(const char* message) const { return m_refused.value(text(message)); }
    int drops() const { return m_drops; }

private:
    int below(int limit) { return m_random.bounded(limit); }

    template <class T>
    const T& any(const QList<T>& list)
    {
        return list.at(below(int(list.size())));
    }

    QAbstractItemModel& anyModel()
    {
        return below(2) == 0 ? static_cast<QAbstractItemModel&>(model) : proxy;
    }

    QString anyId() { return QStringLiteral("n%1").arg(below(k_nodes)); }

    void changeNode()
    {
        const QString id = anyId();
        if (f.db->node(id).null()) {
            auto* const node = new tst::PlainNode(id);
            node->setName(QStringLiteral("name %1").arg(below(30)));
            f.db->insertNode(node);
        } else if (below(3) == 0) {
            f.db->removeNode(id);
        } else if (Node* const copy = f.db->beginUpdateNode(id, 0)) {
            copy->setName(QStringLiteral("name %1").arg(below(30)));
            f.db->endUpdateNode(copy);
        }
    }

    void changeRelation()
    {
        const auto type = ENodeRelationType(1 + below(2));
        if (below(2) == 0)
            f.db->addNodeRelation(anyId(), anyId(), type);
        else
            f.db->removeNodeRelation(anyId(), anyId(), type);
    }

    void changeView(NodeView& view)
    {
        const int index = below(view.count() + 2) - 1;
        const auto entries = view.entries();
        const QString id = entries.isEmpty() ? text("none") : any(entries)->id();
        const int what = below(6);
        if (what < 2)
            view.insert(index, tst::entry(anyId()));
        else if (what < 3)
            view.insert(index, any(m_all));
        else if (what < 4)
            view.move(id, index);
        else if (what < 5)
            view.remove(id);
        else
            view.rename(QStringLiteral("view %1").arg(below(30)));
    }

    QModelIndex anyRow(QAbstractItemModel& from)
    {
        QModelIndex index;
        for (int depth = below(4); depth >= 0 && from.rowCount(index) > 0; --depth)
            index = from.index(below(from.rowCount(index)), 0, index);
        return index;
    }

    void drag(QAbstractItemModel& from)
    {
        const std::unique_ptr<QMimeData> data(from.mimeData({ anyRow(from), anyRow(from) }));
        if (!data)
            return;
        if (below(3) == 0)
            f.db->removeNode(anyId()); // while it is dragged
        QAbstractItemModel& to = anyModel();
        const QModelIndex target = anyRow(to);
        const Qt::DropAction action = below(2) == 0 ? Qt::MoveAction : Qt::CopyAction;
        const int row = below(to.rowCount(target) + 1) - 1;
        const bool isOffered = to.canDropMimeData(data.get(), action, row, 0, target);
        QCOMPARE(to.dropMimeData(data.get(), action, row, 0, target), isOffered);
        m_drops += isOffered ? 1 : 0;
    }

    void lookAround()
    {
        if (below(4) == 0)
            rowText(anyModel());
        if (below(4) == 0)
            proxy.setFilterText(below(2) == 0 ? QString() : QString::number(below(10)));
        if (below(8) == 0)
            model.setShowsUnplacedNodes(below(4) > 0);
    }

public:
    tst::Database f;
    NodeViews views{ *f.db };
    NodeViewModel model{ *f.db, views.root() };
    NodeViewProxyModel proxy{ model };
    tst::ModelWatch watch{ &model };
    tst::ModelWatch proxyWatch{ &proxy };

private:
    QRandomGenerator m_random;
    QList<View> m_all;
    QHash<QString, int> m_refused;
    int m_drops = 0;
};

} // namespace

class TestViewModelsRandom : public QObject
{
    Q_OBJECT

private slots:
    void bothModelsFollowWhateverHappens();
};

void TestViewModelsRandom::bothModelsFollowWhateverHappens()
{
    int drops = 0;
    int cycles = 0;
    int unknown = 0;
    for (quint32 seed = 20261123; seed < 20261133; ++seed) {
        Chaos chaos(seed);
        for (int i = 1; i <= k_operations / 10; ++i) {
            chaos.step();
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(QStringLiteral("seed %1, operation %2").arg(seed).arg(i)));
            if (i % 20 == 0)
                QCOMPARE(chaos.compare(), QString());
        }
        QCOMPARE(chaos.resets(), 0);
        drops += chaos.drops();
        cycles += chaos.refused("Adding th");
        unknown += chaos.refused("Not found");
    }
    qInfo("%d operations, among them %d drops, %d cycles and %d unknown entries refused",
        k_operations, drops, cycles, unknown);
    QVERIFY(drops > 100 && cycles > 100 && unknown > 0);
}

QTEST_MAIN(TestViewModelsRandom)
#include "tst_viewmodelsrandom.moc"
