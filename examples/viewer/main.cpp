// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "nodestore/nodedb.h"
#include "persistence/storefactory.h"
#include "platform/pluginloader.h"
#include "views/nodeview.h"
#include "views/nodeviewmodel.h"
#include "views/nodeviewproxymodel.h"
#include "views/nodeviews.h"
#include <QtWidgets>

using namespace tq;

struct Window : QMainWindow
{
    explicit Window(NodeViews& shown) : views(shown)
    {
        tree.setModel(&sorted);
        tree.setHeaderHidden(true);
        tree.setUniformRowHeights(true);
        tree.setIconSize({ 16, 16 });
        tree.setSelectionMode(QTreeView::ExtendedSelection);
        tree.setEditTriggers(QTreeView::NoEditTriggers); // only the action edits
        tree.setDragDropMode(QTreeView::DragDrop);
        tree.setDefaultDropAction(Qt::MoveAction); // Ctrl copies
        tree.setContextMenuPolicy(Qt::ActionsContextMenu);
        tree.addAction(tr("New view"), QKeySequence::New, this, &Window::addView);
        rename = tree.addAction(tr("Rename"), Qt::Key_F2, this, [this] { tree.edit(selected()); });
        tree.addAction(tr("Remove from view"), QKeySequence::Delete, this, &Window::remove);
        (new QVBoxLayout(tree.viewport()))->addWidget(&hint, 0, Qt::AlignCenter);
        search.setPlaceholderText(tr("Search by name, address, MAC, model or note"));
        search.setContentsMargins(4, 4, 4, 4);
        statusBar()->setContentsMargins(4, 0, 4, 0);
        setMenuWidget(&search);
        setCentralWidget(&tree);
        details.setTextFormat(Qt::PlainText);
        details.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        statusBar()->addWidget(&details, 1);
        statusBar()->addPermanentWidget(&counts);
        connect(&search, &QLineEdit::textChanged, this, [this](const QString& text) {
            sorted.setFilterText(text);
            tree.expandToDepth(text.isEmpty() ? 1 : 3); // not all: it could be without end
        });
        connect(&views, &NodeViews::changed, this, [this] { setWindowModified(true), tell(); });
        connect(tree.selectionModel(), &QItemSelectionModel::selectionChanged, this, &Window::tell);
        tree.expandToDepth(1);
        tell();
    }

    QModelIndex selected() const { return tree.selectionModel()->selectedRows().value(0); }

    void tell()
    {
        const auto text = [this](int role) { return selected().data(role).toString() + u"   "_qs; };
        details.setText(text(eAddressRole) + text(eModelRole) + text(eMacRole));
        const NodeDB& db = *model.database();
        const auto devices = db.nodeIdList().size() - db.nodeIdList(eRecordingFolderNode).size();
        counts.setText(tr("Devices: %1, views: %2").arg(devices).arg(views.all().size()));
        rename->setEnabled(selected().data(eIsViewRole).toBool());
        hint.setVisible(views.root()->count() == 0);
    }

    void addView()
    {
        search.clear(); // which might hide the new one
        const QModelIndex row = selected().data(eIsViewRole).toBool() ? selected() : QModelIndex();
        const QModelIndex above = sorted.mapToSource(row);
        model.viewAt(above)->append(tqm::smart<NodeView>(new NodeView(tr("New view"))));
        tree.clearSelection(); // with Ctrl held, the next line adds to it
        tree.setCurrentIndex(
            sorted.mapFromSource(model.index(model.rowCount(above) - 1, 0, above)));
        tree.edit(tree.currentIndex());
    }

    void remove()
    {
        const QModelIndexList rows = tree.selectionModel()->selectedRows();
        for (const auto& row : QList<QPersistentModelIndex>(rows.begin(), rows.end())) {
            if (const auto view = model.viewAt(sorted.mapToSource(row.parent())); row.isValid())
                view->remove(row.data(eEntryIdRole).toString());
        }
    }

    NodeViews& views;
    NodeViewModel model{ *NodeDB::getDB(), views.root() };
    NodeViewProxyModel sorted{ model };
    QLineEdit search;
    QTreeView tree;
    QLabel hint{ tr("No views yet. Right-click to make one.") };
    QLabel details, counts;
    QAction* rename;
};

/** Shows a store until the window is closed, or makes a picture. Returns what went wrong. */
static QString show(const QString& name, const QCommandLineParser& given)
{
    QString error;
    const auto store = openStore(name, &error);
    if (!store)
        return error;
    NodeDB::getDB()->load(store.get());
    NodeViews views(*NodeDB::getDB());
    views.load(store.get());
    store->endReading();
    if (!store->isUsable())
        return u"not everything could be read from "_qs + name;
    Window window(views);
    window.setWindowTitle(QFileInfo(name).completeBaseName() + u"[*]"_qs);
    const QStringList size = given.value(u"size"_qs).split(u'x');
    window.resize(size.value(0).toInt(), size.value(1).toInt());
    window.search.setText(given.value(u"filter"_qs));
    if (given.isSet(u"select"_qs))
        window.tree.keyboardSearch(given.value(u"select"_qs));
    window.search.setClearButtonEnabled(true); // seen at once, since the text stands there
    if (const QString file = given.value(u"picture"_qs); !file.isEmpty())
        return window.grab().save(file, "PNG") ? QString() : u"cannot write "_qs + file;
    window.show();
    QApplication::exec();
    if (window.isWindowModified()) { // nothing but the views is written
        views.save(store.get());
        store->sync();
    }
    return store->errorString();
}

int main(int argc, char** argv)
{
    if (!std::setlocale(LC_CTYPE, "") || MB_CUR_MAX == 1)
        qputenv("LC_ALL", "C.UTF-8"); // Qt wants UTF-8
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument(u"STORE"_qs, u"for example sqlite:devices.db"_qs);
    parser.addOptions({ { u"picture"_qs, u"Only makes a picture."_qs, u"FILE"_qs },
        { u"size"_qs, u"The size of the window."_qs, u"WxH"_qs, u"560x600"_qs },
        { u"filter"_qs, u"Searches for a text."_qs, u"TEXT"_qs },
        { u"select"_qs, u"Selects a row."_qs, u"NAME"_qs },
        { u"locale"_qs, u"Sorts as people do there."_qs, u"de_DE"_qs, QLocale().name() } });
    parser.addHelpOption();
    parser.process(app);
    QLocale::setDefault(QLocale(parser.value(u"locale"_qs)));
    plugin::Loader::instance().addFolder(app.applicationDirPath() + u"/../lib/nodedb/plugins"_qs);
    const QString error = show(parser.positionalArguments().value(0), parser);
    NodeDB::freeDB();
    plugin::Loader::instance().clear();
    if (!error.isEmpty())
        qCritical("viewer: %s", qUtf8Printable(error));
    return error.isEmpty() ? 0 : 1;
}
