// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/storefactory.h"
#include "shared/calllogdestination.h"
#include "shared/databasefixture.h"

#include "platform/exceptions.h"
#include "platform/properties/properties.h"
#include "platform/properties/propertysetproperty.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace tq;
using tst::StorageNode;
using tst::text;

namespace {

constexpr auto k_full = NASDeviceNode::eFullAccess;
constexpr auto k_readOnly = NASDeviceNode::eReadOnlyAccess;
constexpr auto k_none = NASDeviceNode::eNoAccess;

/** Anna may write on "records", Ben may read there, Carl stands in no list. */
void fill(NASDeviceNode& node)
{
    node.addLocalUser(text("ben"), text("ben's"), true);
    node.addLocalUser(text("anna"), text("änna's"), false);
    node.addLocalUser(text("carl"), QString(), true);
    node.addShare(text("records"), text("volume1"), text("/volume1/records"));
    node.addShare(text("archive"), text("volume2"), text("/volume2/archive"));
    node.setAccessRights(text("records"), text("anna"), k_full);
    node.setAccessRights(text("records"), text("ben"), k_readOnly);
}

QStringList names(const QList<INASNodeDataReader::UserCredential>& users)
{
    QStringList result;
    for (const auto& user : users)
        result.append(user.user + QLatin1Char(':') + user.password);
    return result;
}

/** Whether any file below `folder` holds the bytes. */
bool isAnywhere(const QString& folder, const QByteArray& bytes)
{
    const auto files = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden);
    for (const QFileInfo& info : files) {
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly) || file.readAll().contains(bytes))
            return true;
    }
    return false;
}

/** The bytes in which a file could hold a text. */
QByteArrayList formsOf(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    const auto* const units = reinterpret_cast<const char*>(text.utf16());
    return { utf8, utf8.toBase64(), utf8.toHex(), QByteArray(units, text.size() * 2) };
}

} // namespace

class TestNASDeviceNode : public QObject
{
    Q_OBJECT

private slots:
    void namesAreUniqueAndUnknownOnesThrowOnlyForReferences();
    void rightsNeedShareAndUser();
    void readersFollowTheOrderOfUsers();
    void nestedSetsAreThoseOfConstruction();
    void usersAreReadBackInThrees();
    void storedFormAndAppendingLoad();
    void damagedListsAreRead();
    void unsavedPasswordsAreInNoFile_data();
    void unsavedPasswordsAreInNoFile();
    void isReachedThroughTheReader();
};

void TestNASDeviceNode::namesAreUniqueAndUnknownOnesThrowOnlyForReferences()
{
    tst::Database f;
    StorageNode node(text("nas"));
    fill(node);
    node.addLocalUser(text("anna"), text("other"), true);
    QCOMPARE(node.localUser(text("anna")), UserAndPassword(text("anna"), text("änna's"), false));
    node.addShare(text("records"), QString(), QString());
    QCOMPARE(node.share(text("records")).volume, text("volume1"));
    QVERIFY(!node.existsLocalUser(text("Anna")) && !node.existsShare(text("Records")));
    const auto refusalOf = [](const auto& call) {
        try {
            call();
        } catch (const IllegalArgumentException& e) {
            return e.value() + QLatin1Char('|') + e.message();
        }
        return QString();
    };
    const auto& constant = node;
    QCOMPARE(refusalOf([&] { node.localUser(text("dora")); }), text("dora|unknown user"));
    QCOMPARE(refusalOf([&] { constant.localUser(text("dora")); }), text("dora|unknown user"));
    QCOMPARE(refusalOf([&] { node.share(text("x")); }), text("x|unknown share name"));
    QCOMPARE(refusalOf([&] { constant.share(text("x")); }), text("x|unknown share name"));
    node.removeLocalUser(text("dora"));
    node.removeShare(text("x"));
    node.setAccessRights(text("x"), QList<NASDeviceNode::AccessControl>());
    QCOMPARE(node.usersWithFullAccess(text("x")).size(), 0);
    node.removeLocalUser(text("ben"));
    node.removeShare(text("records"));
    QCOMPARE(node.userNames(), QStringList({ text("anna"), text("carl") }));
    QCOMPARE(node.shareNames(), QStringList(text("archive")));
}

void TestNASDeviceNode::rightsNeedShareAndUser()
{
    tst::Database f;
    StorageNode node(text("nas"));
    fill(node);
    const auto acl = [&] { return node.share(text("records")).acl; };
    const QList<NASDeviceNode::AccessControl> before = acl();
    node.setAccessRights(text("records"), text("carl"), k_none);
    node.setAccessRights(text("records"), text("dora"), k_full);
    node.setAccessRights(text("x"), text("anna"), k_full);
    QCOMPARE(acl(), before);
    node.setAccessRights(text("records"), text("anna"), k_readOnly);
    node.setAccessRights(text("records"), text("carl"), k_full);
    const QList<NASDeviceNode::AccessControl> changed{ { text("anna"), k_readOnly },
        { text("ben"), k_readOnly }, { text("carl"), k_full } };
    QCOMPARE(acl(), changed);
    node.setAccessRights(text("records"), text("anna"), k_none);
    QCOMPARE(acl(), changed.mid(1));
    QCOMPARE(node.accessRights(text("records"), text("anna")), k_none);
    QCOMPARE(node.accessRights(text("x"), text("ben")), k_none);
    node.setAccessRights(text("records"), before);
    QCOMPARE(acl(), before);
}

void TestNASDeviceNode::readersFollowTheOrderOfUsers()
{
    tst::Database f;
    StorageNode node(text("nas"));
    fill(node);
    node.setAccessRights(text("records"), text("carl"), k_full);
    node.setAccessRights(text("records"), text("ben"), k_full);
    QCOMPARE(names(node.usersWithFullAccess(text("records"))),
        QStringList({ text("ben:ben's"), text("anna:änna's"), text("carl:") }));
    QCOMPARE(names(node.usersWithReadOnlyAccess(text("records"))), QStringList());
    node.removeLocalUser(text("ben"));
    QCOMPARE(names(node.usersWithFullAccess(text("records"))),
        QStringList({ text("anna:änna's"), text("carl:") }));
}

void TestNASDeviceNode::nestedSetsAreThoseOfConstruction()
{
    tst::Database f;
    StorageNode node(text("nas"));
    fill(node);
    node.setFloatProperty(text("TotalCapacity"), 1.5F);
    const tqgen::PropertySet set = node.properties();
    const auto nested = [&](const char* name) {
        return tqgen::getValue(set.find(text(name)), tqgen::PropertySet());
    };
    QVERIFY(nested("LocalUsers").isEmpty() && nested("Shares").isEmpty());
    const QStringList order = set.names();
    QCOMPARE(order.mid(order.size() - 5),
        QStringList({ text("LocalUsers"), text("Shares"), text("TotalCapacity"),
            text("FreeCapacity"), text("UPSAvailable") }));
    QVERIFY(!node.updateField(*set.find(text("LocalUsers"))));
    QCOMPARE(node.userNames().size(), 3);
    QCOMPARE(node.floatProperty(text("TotalCapacity"), 0), 1.5F);
}

void TestNASDeviceNode::usersAreReadBackInThrees()
{
    using namespace tqgen;
    tst::Database f;
    StorageNode node(text("nas"));
    PropertySet set;
    for (int i = 0; i < 2; ++i) {
        const QString number = QString::number(i);
        set.emplace<StringProperty>(text("User") + number, QString(), text("user") + number);
        set.emplace<StringProperty>(text("Password") + number, QString(), text("secret") + number);
        set.emplace<BoolProperty>(text("SavePassword") + number, QString(), i == 0);
    }
    set.emplace<StringProperty>(text("User2"), QString(), text("cut off"));
    QCOMPARE(set.size(), 7);
    node.addLocalUser(text("before"), QString(), true);
    node.fillLocalUsersFromPropertySet(set);
    QCOMPARE(node.userNames(), QStringList({ text("user0"), text("user1") }));
    QCOMPARE(node.localUser(text("user1")), UserAndPassword(text("user1"), text("secret1"), false));
}

void TestNASDeviceNode::storedFormAndAppendingLoad()
{
    tst::Database f;
    StorageNode node(text("nas"));
    fill(node);
    node.setFloatProperty(text("FreeCapacity"), 0.1F);
    const auto memory = openStore(text("memory:"));
    tst::CallLogDestination log(memory.get());
    node.save(&log);
    QCOMPARE(log.openScopes(), 0);
    const QString calls = log.calls().join(QLatin1Char('\n'));
    QVERIFY2(
        calls.contains(text("FreeCapacity")) && calls.contains(text("float")), qPrintable(calls));
    QVERIFY(!calls.contains(text("double")));

    StorageNode loaded(text("nas"));
    loaded.load(memory.get());
    QCOMPARE(loaded.shares(), node.shares());
    QCOMPARE(loaded.userNames(), node.userNames());
    QCOMPARE(loaded.localUser(text("anna")).password, QString());
    QCOMPARE(loaded.localUser(text("ben")).password, text("ben's"));
    QCOMPARE(loaded.floatProperty(text("FreeCapacity"), 0), 0.1F);
    loaded.load(memory.get());
    QCOMPARE(loaded.userNames(), node.userNames() + node.userNames());
    QCOMPARE(loaded.shareNames(), node.shareNames() + node.shareNames());

    const std::unique_ptr<Node> copy(loaded.clone());
    QCOMPARE(dynamic_cast<StorageNode&>(*copy).shares(), loaded.shares());
    QCOMPARE(dynamic_cast<StorageNode&>(*copy).userNames(), loaded.userNames());
}

void TestNASDeviceNode::damagedListsAreRead()
{
    tst::Database f;
    const auto memory = openStore(text("memory:"));
    memory->beginWriteArray(text("LocalUsers"), -1);
    memory->setArrayIndex(0);
    memory->setValue(text("User"), text("no list"));
    memory->setArrayIndex(1);
    memory->setValue(text("User"), QVariantList{ text("anna") });
    memory->endArray();
    memory->beginWriteArray(text("Shares"), -1);
    memory->setArrayIndex(2);
    memory->setValue(text("Sharename"), 7);
    memory->beginWriteArray(text("ACL"), -1);
    memory->setArrayIndex(0);
    memory->setValue(text("User"), text("anna"));
    memory->endArray();
    memory->endArray();
    StorageNode node(text("nas"));
    node.load(memory.get());
    QCOMPARE(node.userNames(), QStringList({ QString(), text("anna") }));
    QCOMPARE(node.localUser(QString()), UserAndPassword());
    QCOMPARE(node.shareNames(), QStringList({ QString(), QString(), text("7") }));
    QCOMPARE(node.accessRights(text("7"), text("anna")), k_full);
}

void TestNASDeviceNode::unsavedPasswordsAreInNoFile_data()
{
    QTest::addColumn<QString>("store");
    QTest::newRow("SQLite") << text("sqlite:devices.db");
    QTest::newRow("INI") << text("ini:devices.ini");
}

void TestNASDeviceNode::unsavedPasswordsAreInNoFile()
{
    QFETCH(QString, store);
    tst::Database f;
    const QTemporaryDir folder;
    const QString unsaved = text("Kanärienvogel-17");
    const QString saved = text("Kormoran-18");
    auto* const node = new StorageNode(text("nas"));
    node->addLocalUser(text("anna"), unsaved, false);
    node->addLocalUser(text("ben"), saved, true);
    f.db->insertNode(node);
    const QString path = store.replace(QLatin1Char(':'), text(":") + folder.path() + text("/"));
    const auto target = openStore(path, nullptr, OpenMode::Create);
    QVERIFY(target);
    // Twice: what a first save left behind counts as well.
    f.db->save(target.get(), false);
    f.db->save(target.get(), false);
    for (const QByteArray& form : formsOf(unsaved))
        QVERIFY2(!isAnywhere(folder.path(), form), form.toHex());
    QVERIFY(isAnywhere(folder.path(), saved.toUtf8().toBase64())
        || isAnywhere(folder.path(), saved.toUtf8().toBase64().toBase64()));
}

void TestNASDeviceNode::isReachedThroughTheReader()
{
    tst::Database f;
    auto* const stored = new StorageNode(text("nas"));
    stored->setName(text("Cellar"));
    fill(*stored);
    f.db->insertNode(stored);
    const auto node = f.db->node(text("nas"));
    const auto* const reader = dynamic_cast<const INASNodeDataReader*>(node.get());
    QVERIFY(reader);
    QCOMPARE(reader->serverName(), text("Cellar"));
    QCOMPARE(reader->shareNames(), QStringList({ text("records"), text("archive") }));
    const IInterface* const base = reader->getInterface("tq::INASNodeDataReader");
    QCOMPARE(dynamic_cast<const INASNodeDataReader*>(base), reader);
    QVERIFY(!reader->getInterface("tq::IComponent"));
}

QTEST_GUILESS_MAIN(TestNASDeviceNode)
#include "tst_nasdevicenode.moc"
