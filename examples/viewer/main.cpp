// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "nodestore/nodedb.h"
#include "persistence/storefactory.h"
#include "persistence/storelock.h"
#include "platform/pluginloader.h"
#include "views/nodeentry.h"
#include "views/nodeview.h"
#include "views/nodeviewmodel.h"
#include "views/nodeviewproxymodel.h"
#include "views/nodeviews.h"
#include <QtWidgets>
using namespace tq;
struct Window : QMainWindow
{
    explicit Window(IStore& kept) : store(kept)
    {
        views.load(&store);
        model.setShowsUnplacedNodes(true);
        tree.setModel(&sorted);
        tree.setHeaderHidden(true);
        tree.setUniformRowHeights(true);
        tree.setSelectionMode(QTreeView::ExtendedSelection);
        tree.setEditTriggers(QTreeView::NoEditTriggers); // only the action edits
        tree.setDragDropMode(QTreeView::DragDrop);
        tree.setDefaultDropAction(Qt::MoveAction); // Ctrl copies
        tree.setContextMenuPolicy(Qt::ActionsContextMenu);
        tree.addAction(tr("New view"), QKeySequence::New, this, &Window::addView);
        tree.addAction(tr("Add other devices"), this, &Window::addOthers);
        tree.addAction(tr("Rename"), Qt::Key_F2, this, [this] { tree.edit(chosen()); });
        tree.addAction(tr("Remove from view"), QKeySequence::Delete, this, &Window::remove);
        (new QVBoxLayout(tree.viewport()))->addWidget(&hint, 0, Qt::AlignCenter);
        search.setPlaceholderText(tr("Search by name, address, MAC, model or note"));
        setMenuWidget(&search);
        setCentralWidget(&tree);
        counts.setMargin(4);
        statusBar()->addPermanentWidget(&counts);
        connect(&search, &QLineEdit::textChanged, this, &Window::find);
        connect(&views, &NodeViews::changed, this, [this] { setWindowModified(true), tell(); });
        connect(tree.selectionModel(), &QItemSelectionModel::selectionChanged, this, &Window::tell);
        find();
    }
    QModelIndex chosen() const { return tree.selectionModel()->selectedRows().value(0); }
    auto viewAt(const QModelIndex& row) const { return model.viewAt(sorted.mapToSource(row)); }
    QModelIndex above() const // whose view takes what is new: not "Not in a view", but the top
    {
        const QModelIndex row = viewAt(chosen()).null() ? chosen().parent() : chosen();
        return viewAt(row).null() ? QModelIndex() : row;
    }
    bool ask(const QString& q) { return QMessageBox::question(this, {}, q) == QMessageBox::Yes; }
    void find()
    {
        sorted.setFilterText(search.text());
        QModelIndexList rows{ QModelIndex() }; // not all: views in views can be billions
        for (int i = 0; i < rows.size() && rows.size() < 500; ++i) {
            tree.expand(rows[i]);
            for (int row = 0; row < sorted.rowCount(rows[i]); ++row)
                rows.append(sorted.index(row, 0, rows[i]));
        }
        tell();
    }
    void tell()
    {
        const auto text = [this](int role) { return chosen().data(role).toString() + u"   "_qs; };
        statusBar()->showMessage(text(eAddressRole) + text(eModelRole) + text(eMacRole));
        counts.setText(tr("Devices: %1, views: %2").arg(devices.size()).arg(views.all().size()));
        hint.setText(search.text().isEmpty() ? tr("Right-click to begin.") : tr("Nothing found."));
        hint.setVisible(sorted.rowCount() == 0);
    }
    void addView()
    {
        search.clear(); // which might hide the new one
        const tqm::smart<NodeView> view(new NodeView(tr("New view")));
        viewAt(above())->append(view);
        tree.clearSelection(); // with Ctrl held, the next line adds to it
        tree.setCurrentIndex(sorted.mapFromSource(model.indexesOf(view->id()).value(0)));
        tree.edit(tree.currentIndex());
    }
    void addOthers()
    {
        QStringList others = devices;
        others.removeIf([this](const QString& id) { return views.holds(id); });
        const QPersistentModelIndex row = above(); // now: a chosen node moves there, too
        const auto view = viewAt(row);
        for (const QString& id : others)
            view->append(tqm::smart<NodeEntry>(new NodeEntry(id)));
        tree.expand(row);
    }
    void remove()
    {
        QList<QPersistentModelIndex> rows; // one may go with another
        for (const QModelIndex& row : tree.selectionModel()->selectedRows())
            rows.append(row);
        for (const auto& row : rows) {
            const QString id = row.data(eEntryIdRole).toString(); // "Not in a view" has none
            if (id.isEmpty() || viewAt(row.parent()).null())
                continue;
            const auto view = viewAt(row);
            const bool isLost = !view.null() && view->count() > 0 && view->containers().size() == 1;
            const QString question = tr("Remove %1 with all in it?").arg(row.data().toString());
            if (isLost && !ask(Qt::convertFromPlainText(question)))
                return;
            viewAt(row.parent())->remove(id);
        }
    }
    void closeEvent(QCloseEvent* event) override
    {
        if (isWindowModified())
            views.save(&store), store.sync(); // nothing but the views
        if (!store.errorString().isEmpty() && !ask(store.errorString() + tr("\nClose anyway?")))
            event->ignore();
    }
    IStore& store;
    NodeViews views{ *NodeDB::getDB() };
    NodeViewModel model{ *NodeDB::getDB(), views.root() };
    NodeViewProxyModel sorted{ model };
    const QList<ENodeType> folders{ eRecordingFolderNode };
    const QStringList devices = NodeDB::getDB()->nodeIdList(&folders, true);
    QLineEdit search;
    QTreeView tree;
    QLabel hint, counts;
};
int main(int argc, char** argv)
{
    const QList<QByteArray> words(argv + 1, argv + argc);
    if (words.isEmpty() || words.contains("--help") || words.contains("-h"))
        qputenv("QT_QPA_PLATFORM", "offscreen"); // text needs no display
    QApplication app(argc, argv);
    const auto fail = [](auto why) { return qCritical("viewer: %s", qUtf8Printable(why)), 1; };
    const auto end = qScopeGuard([] { NodeDB::freeDB(), plugin::Loader::instance().clear(); });
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString set = qEnvironmentVariable("NODEDB_STORE");
    const QString used = set.isEmpty() ? u"sqlite:%1/nodedb/devices.db"_qs.arg(data) : set;
    const QString usual = u"The program nodedb uses %1."_qs.arg(used);
    QCommandLineParser given;
    given.setApplicationDescription(
        u"Shows the devices of a store, and arranges them in views."_qs);
    given.addPositionalArgument(u"STORE"_qs, u"A file that nodedb made. "_qs + usual);
    given.addOptions(
        { { u"picture"_qs, u"Draws the window into FILE, and ends."_qs, u"FILE.png"_qs },
            { u"size"_qs, u"How large the window is."_qs, u"WIDTHxHEIGHT"_qs },
            { u"filter"_qs, u"What to search for."_qs, u"TEXT"_qs },
            { u"select"_qs, u"Which row to select."_qs, u"NAME"_qs } });
    given.addHelpOption();
    given.process(app);
    QString error, name = given.positionalArguments().join(u' ');
    const QString path = storeFilePath(name), picture = given.value(u"picture"_qs);
    if (name.isEmpty())
        return fail(u"name a store, as in \"viewer devices.db\". "_qs + usual);
    if (!QFileInfo::exists(path))
        return fail(u"there is no store \"%1\""_qs.arg(name));
    const auto lock = picture.isEmpty() ? StoreLock::take(name, &error) : nullptr;
    if (!error.isEmpty()) // without it, what others save meanwhile would be undone
        return fail(error);
    plugin::Loader::instance().addFolder(app.applicationDirPath() + u"/../lib/nodedb/plugins"_qs);
    const auto mode = picture.isEmpty() ? OpenMode::ReadWrite : OpenMode::ReadOnly;
    const auto store = openStore(lock ? lock->store() : name, &error, mode);
    if (!store)
        return fail(error);
    NodeDB::getDB()->load(store.get());
    Window window(*store);
    store->endReading();
    if (!store->isUsable())
        return fail(u"not everything could be read from "_qs + name);
    window.setWindowTitle(QFileInfo(name).completeBaseName() + u"[*]"_qs);
    const QString size = given.isSet(u"size"_qs) ? given.value(u"size"_qs) : u"560x600"_qs;
    window.resize(size.section(u'x', 0, 0).toInt(), size.section(u'x', 1).toInt());
    window.search.setText(given.value(u"filter"_qs));
    if (given.isSet(u"select"_qs))
        window.tree.keyboardSearch(given.value(u"select"_qs));
    if (window.size().isEmpty() || window.chosen().isValid() != given.isSet(u"select"_qs))
        return fail(u"--size wants WIDTHxHEIGHT, --select the name of what is shown"_qs);
    if (!picture.isEmpty())
        return window.grab().save(picture, "PNG") ? 0 : fail(u"cannot write "_qs + picture);
    window.show();
    return QApplication::exec();
}
