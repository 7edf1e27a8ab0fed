// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/randomdatabase.h"

#include "discovery/nodehintipdevice.h"
#include "environments/environments.h"
#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"
#include "shared/fakenode.h"

#include <QStringList>

namespace tst {

using namespace tq;

namespace {

const QStringList k_pieces{ QStringLiteral("a"), QStringLiteral("Z9"), QStringLiteral("/"),
    QStringLiteral("%41"), QStringLiteral("{b}"), QStringLiteral("\\x"), QStringLiteral("ä"),
    QStringLiteral("日本"), QStringLiteral("😀"), QStringLiteral(" "), QStringLiteral("@"),
    QStringLiteral(";,="), QStringLiteral("\""), QStringLiteral("\n\t"), QString(QChar(0)),
    QStringLiteral("true"), QStringLiteral("007"), QStringLiteral("[x]"), QStringLiteral("#") };

} // namespace

QString RandomDatabase::someText()
{
    QString text = QStringLiteral("");
    for (int i = number(5); i > 0; --i)
        text += k_pieces.at(number(int(k_pieces.size()) - 1));
    return text;
}

QString RandomDatabase::someId(int index)
{
    const QString special = k_pieces.at(number(8));
    count(qPrintable(
        QStringLiteral("ids with ") + QString::fromLatin1(special.toUtf8().toPercentEncoding())));
    return QString::number(index) + special;
}

void RandomDatabase::fill()
{
    fillEnvironments();
    fillNodes();
    fillSettings();
    fillProxy();
    fillRelations();
    if (number(3) == 0) {
        Environments::setActiveEnvironment(QStringLiteral("dangling"));
        count("dangling active environment");
    }
}

void RandomDatabase::fillEnvironments()
{
    Environments* const environments = NodeDB::getDB()->environments();
    m_environments = { environments->activeEnvironment() };
    for (int i = 2 + number(2); i > 0; --i)
        m_environments.append(environments->add(QString::number(i) + someText()));
}

void RandomDatabase::fillSettings()
{
    NodeDB* const db = NodeDB::getDB();
    db->setBandwidth(number(9));
    db->setGlobalAuthentication(someText(), someText());
    db->setGlobalRecordingFolderPath(someText());
    db->setGlobalRecordingFolderUserAndPassword(someText(), someText());
    db->setDefaultRecordingTransponderIP(someText());
    db->setDefaultRecordingTransponderPath(someText());
    db->setDefaultRecordingTransponderPort(number(65535));
    db->setDefaultRecordingTransponderSsl(chance());
    db->setDefaultRecordingTransponderFramerate(float(number(1000)) / 7.0F);
    db->setDefaultRecordingTransponderUserAndPassword(someText(), someText(), chance());
    db->setActiveUser(chance() ? someText() : QString());
}

void RandomDatabase::fillProxy()
{
    NodeDB* const db = NodeDB::getDB();
    GlobalNetworkProxy* const proxy = db->globalProxy();
    for (const QString& environment : std::as_const(m_environments)) {
        db->setActiveEnvironment(environment);
        if (chance())
            continue;
        proxy->setUseProxy(chance());
        proxy->setProxyAddress(someText(), number(65535));
        proxy->setProxyUser(someText(), someText());
        proxy->setSaveProxyPassword(chance());
        for (int i = number(12); i > 0; --i) {
            proxy->addException(someText());
            count("exceptions");
        }
    }
}

void RandomDatabase::fillNodes()
{
    NodeDB* const db = NodeDB::getDB();
    const int most = 2 + number(6);
    for (int i = 0; i < most; ++i) {
        const QString id = someId(i);
        if (chance()) {
            fillDevice(id);
            continue;
        }
        auto* const node = new PlainNode(id);
        node->login.setUserAndPassword(someText(), someText(), chance());
        db->insertNode(node);
        count("plain nodes");
    }
    fillStorage(someId(most));
    fillShipped();
    for (const QString& id : db->nodeIdList()) {
        Node* const copy = db->beginUpdateNode(id, 0);
        copy->setName(someText());
        copy->setNote(someText());
        copy->setModelInfo(someText());
        copy->setCreationService(ENodeCreationService(number(4)));
        copy->setPrimaryNode(chance());
        copy->setRectProperty(QStringLiteral("ExtraWindowRect"),
            chance() ? QRect() : QRect(-number(99), number(99), number(99), number(99)));
        copy->setShouldPersist(number(3) > 0);
        count(copy->shouldPersist() ? "nodes that persist" : "nodes that do not");
        db->endUpdateNode(copy);
    }
}

void RandomDatabase::fillStorage(const QString& id)
{
    auto* const storage = new StorageNode(id);
    storage->setHostAddress(someText());
    for (int i = number(4); i > 0; --i)
        storage->addLocalUser(QString::number(i) + someText(), someText(), chance());
    for (int i = number(4); i > 0; --i) {
        const QString share = QString::number(i) + someText();
        storage->addShare(share, someText(), someText());
        for (const QString& user : storage->userNames()) {
            storage->setAccessRights(share, user, NASDeviceNode::EAccess(number(2)));
            count("rights on shares");
        }
    }
    storage->setFloatProperty(QStringLiteral("TotalCapacity"), float(number(1000)) / 7.0F);
    storage->setBoolProperty(QStringLiteral("UPSAvailable"), chance());
    NodeDB::getDB()->insertNode(storage);
    count("network storages");
}

/** Nodes of the drivers that are shipped, made as discovery makes them. */
void RandomDatabase::fillShipped()
{
    NodeDB* const db = NodeDB::getDB();
    NodeHintIPDevice camera;
    camera.setNodeType(eIPCameraNode);
    camera.setHostAddress(QStringLiteral("10.1.%1.%2").arg(number(254)).arg(number(254)));
    camera.setUser(someText());
    camera.setPassword(someText());
    camera.setSavePassword(chance());
    db->newNodeHint(camera);
    NodeHintIPDevice folder;
    folder.setNodeType(eRecordingFolderNode);
    folder.setSecondText(someText());
    folder.setThirdText(QStringLiteral("of ") + someText());
    folder.setUser(someText());
    folder.setPassword(someText());
    folder.setSavePassword(chance());
    db->newNodeHint(folder);
    count("cameras of the shipped driver", int(db->nodeIdList(eIPCameraNode).size()));
    count("recording folders", int(db->nodeIdList(eRecordingFolderNode).size()));
}

void RandomDatabase::fillDevice(const QString& id)
{
    NodeDB* const db = NodeDB::getDB();
    auto* const device = new DeviceNode(id);
    for (const QString& environment : std::as_const(m_environments)) {
        db->setActiveEnvironment(environment);
        device->setHostAddress(someText());
        device->setPort(number(65535));
        device->setSsl(chance());
        device->setBandWidth(number(9) - 1);
        device->setControlMode(number(3));
        if (chance()) {
            device->proxy().setProxyAddress(someText(), number(65535));
            device->proxy().setProxyUser(someText(), someText());
            device->proxy().setSaveProxyPassword(chance());
            count("proxies of nodes");
        }
    }
    if (chance())
        device->setMac(
            MACAddress(QStringLiteral("02000000%1").arg(number(65535), 4, 16, QLatin1Char('0'))));
    for (int i = number(3); i > 0; --i) {
        device->setLoginForApplicationUser(someText(), someText(), someText(), chance());
        count("logins");
    }
    device->setServiceName(someText());
    device->setBonjourAvailable(chance());
    db->insertNode(device);
    count("devices");
}

void RandomDatabase::fillRelations()
{
    NodeDB* const db = NodeDB::getDB();
    const QStringList ids = db->nodeIdList();
    for (int i = number(9); i > 0; --i) {
        const auto type = ENodeRelationType(1 + number(2));
        const QString from = ids.at(number(int(ids.size()) - 1));
        db->addNodeRelation(from, ids.at(number(int(ids.size()) - 1)), type);
        count("relations");
        if (db->relatedNodes(from, type).size() > 1)
            count("several destinations under one key");
    }
    if (number(4) == 0) {
        db->addNodeRelation(ids.first(), QStringLiteral("nobody"), eDeviceToRecordingFolder);
        count("relations to missing nodes");
    }
}

} // namespace tst
