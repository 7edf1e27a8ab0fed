// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintipdevice.h"
#include "nodestore/node.h"
#include "nodestore/nodedb.h"
#include "persistence/storefactory.h"
#include "platform/pluginloader.h"
#include <QCoreApplication>
#include <QDebug>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    tq::plugin::Loader& loader = tq::plugin::Loader::instance();
    const QString beside = application.applicationDirPath() + u"/../lib/nodedb/plugins"_qs;
    loader.addFolder(application.arguments().value(1, beside));
    tq::NodeDB* const db = tq::NodeDB::getDB(); // asks the plug-ins what they can handle
    QObject::connect(db, &tq::NodeDB::nodeInserted, [](QString id) { qInfo() << "new:" << id; });

    tq::NodeHintIPDevice hint;
    hint.setHostAddress(u"192.0.2.7"_qs);
    hint.setNodeType(tq::eIPCameraNode); // typed: its driver makes the node without probing
    db->newNodeHint(hint);

    for (const QString& id : db->nodeIdList()) {
        tq::Node* const copy = db->beginUpdateNode(id, 1000); // ours until the bracket ends
        copy->setNote(u"at the gate"_qs);
        db->endUpdateNode(copy);
    }
    const auto store = tq::openStore(u"memory:"_qs); // or a file: OpenMode::Create makes a new one
    db->save(store.get(), false);
    qInfo() << "saved:" << !db->isModified() << "nodes:" << db->nodeIdList().size();
    tq::NodeDB::freeDB();

    tq::NodeDB* const next = tq::NodeDB::getDB(); // an empty one, as in the next run of the program
    next->load(store.get());
    for (const QString& id : next->nodeIdList())
        qInfo() << "loaded:" << id << next->node(id)->note();
    tq::NodeDB::freeDB();
    loader.clear();
}
