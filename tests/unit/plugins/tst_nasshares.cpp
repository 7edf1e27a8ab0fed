// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/nasdevicenode.h"
#include "discovery/nodehintipdevice.h"
#include "drivers/nasdevice/smbrelay_p.h"
#include "plugins/drivertest.h"
#include "plugins/smbserver.h"

#include "platform/pluginloader.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QPointer>
#include <QStorageInfo>

#include <csignal>

using namespace tq;
using plugin::Loader;
using tst::SmbServer;
using tst::text;

namespace {

const QString k_annas = QStringLiteral("an%na's w\u00f6rd");
const QString k_bens = QStringLiteral("ben-secret");

QJsonObject share(const QString& name, const QStringList& full, const QStringList& readOnly)
{
    return { { text("name"), name }, { text("full"), QJsonArray::fromStringList(full) },
        { text("readOnly"), QJsonArray::fromStringList(readOnly) },
        { text("files"), QJsonArray{ text("a.txt") } } };
}

QJsonObject description()
{
    const auto user = [](const QString& name, const QString& password) {
        return QJsonObject{ { text("name"), name }, { text("password"), password } };
    };
    QJsonObject frozen = share(text("frozen"), { text("anna"), text("ben") }, {});
    frozen.insert(text("mode"), text("0755")); // the server would allow what its folder does not
    return { { text("users"),
                 QJsonArray{ user(text("anna"), k_annas), user(text("ben"), k_bens) } },
        { text("shares"),
            QJsonArray{ share(text("records"), { text("anna") }, { text("ben") }),
                share(text("archive"), {}, { text("anna") }), share(text("vault"), {}, {}), frozen,
                share(text("hidden$"), { text("anna") }, {}) } } };
}

/** Everything about the node that a store would keep. */
QVariantList stateOf(const tqm::smart<const NASDeviceNode>& node)
{
    QVariantList state{ node->userNames(), node->freeSpace(),
        node->floatProperty(text("TotalCapacity"), 0) };
    for (const auto& each : node->shares()) {
        state << each.shareName << each.volume << each.path;
        for (const auto& right : each.acl)
            state << right.user << int(right.access);
    }
    return state;
}

} // namespace

/** The driver and a real server. */
class TestNASShares : public tst::DriverTest
{
    Q_OBJECT

public:
    TestNASShares() : DriverTest(eNetworkStorageNode) { }

private slots:
    void initTestCase();
    void isFoundWithoutALogin();
    void agreesWithWhatClientsCan();
    void readsEachOfManyShares();
    void changesNothingOnTheStorage();
    void keepsWhatItCannotKnow();
    void keepsRightsOnAShareThatIsBroken();
    void createsOnlyWhenAllowed();
    void leavesTheNodeAloneWhenRefused();
    void givesUpOnSilence();
    void dropsTheAnswerOfAnotherDevice();
    void dropsTheAnswerToAnotherLogin();
    void survivesConnectionsThatBreak();
    void readsByItselfWhenALoginIsSet();
    void waitsForTheEndOfAnEdit();
    void survivesTheEndOfNodeDatabaseAndDriver();
    void boundsWhatItReads();

private:
    /** Inserts a node of the server, or of what stands before it on another port. */
    NodeID insert(const QString& user, const QString& password, quint16 port = 0);
    /** Inserts the server with anna's login, and waits until it was read by itself. */
    NodeID insertRead();
    tqm::smart<const NASDeviceNode> node(const NodeID& id) { return m_fixture->db->node(id); }

    std::unique_ptr<SmbServer> m_server;
};

void TestNASShares::initTestCase()
{
    m_server = std::make_unique<SmbServer>(description());
    if (m_server->isMissing())
        QSKIP(qPrintable(m_server->problem()));
    QCOMPARE(m_server->problem(), QString());
}

NodeID TestNASShares::insert(const QString& user, const QString& password, quint16 port)
{
    NodeHintIPDevice hint;
    hint.setNodeType(eNetworkStorageNode);
    hint.setHostAddress(text("127.0.0.1"));
    hint.setPort(port == 0 ? m_server->port() : port);
    hint.setName(text("Barn"));
    hint.setUser(user);
    hint.setPassword(password);
    hint.setSavePassword(true);
    return m_driver->createNodeFromHint(hint);
}

NodeID TestNASShares::insertRead()
{
    const NodeID id = insert(text("anna"), k_annas);
    [&] { QCOMPARE(nextError(), QString()); }();
    return id;
}

void TestNASShares::isFoundWithoutALogin()
{
    NodeHintIPDevice hint; // without a type: every driver is asked
    hint.setHostAddress(text("127.0.0.1"));
    hint.setPort(m_server->port());
    QSignalSpy inserted(m_fixture->db, &NodeDB::nodeInserted);
    m_fixture->db->newNodeHint(hint);
    QVERIFY(inserted.wait(k_bound));
    const NodeID id = inserted.first().first().toString();
    QCOMPARE(node(id)->type(), eNetworkStorageNode);
    QCOMPARE(node(id)->port(), int(m_server->port()));
}

void TestNASShares::agreesWithWhatClientsCan()
{
    const NodeID id = insert(text("anna"), k_annas);
    QCOMPARE(nextError(), QString()); // it has a login: read by itself
    QCOMPARE(node(id)->shareNames(),
        QStringList({ text("records"), text("archive"), text("vault"), text("frozen") }));
    QCOMPARE(node(id)->userNames(), QStringList{ text("anna") });
    QCOMPARE(node(id)->localUser(text("anna")), UserAndPassword(text("anna"), k_annas, true));
    QCOMPARE(node(id)->share(text("archive")).path, text("/archive"));

    edit<NASDeviceNode>(id, [](auto& node) { node.addLocalUser(text("ben"), k_bens, false); });
    QCOMPARE(read(id), QString());
    const QList<UserAndPassword> users{ { text("anna"), k_annas, true },
        { text("ben"), k_bens, false } };
    for (const QString& each : node(id)->shareNames()) {
        QStringList full, readOnly, canPut, canList;
        for (const auto& user : node(id)->usersWithFullAccess(each))
            full.append(user.user);
        for (const auto& user : node(id)->usersWithReadOnlyAccess(each))
            readOnly.append(user.user);
        for (const auto& user : users) {
            const auto grant = m_server->grantOf(each, user.user, user.password);
            if (grant != SmbServer::eNothing)
                (grant == SmbServer::ePut ? canPut : canList).append(user.user);
        }
        QCOMPARE(full, canPut);
        QCOMPARE(readOnly, canList);
    }
    QCOMPARE(node(id)->usersWithFullAccess(text("records")).size(), 1);
    QCOMPARE(node(id)->usersWithReadOnlyAccess(text("frozen")).size(), 2);
    QCOMPARE(m_fixture->log.linesWith(text("secret")), QStringList());
}

void TestNASShares::readsEachOfManyShares()
{
    constexpr int k_many = 20;
    QJsonArray shares;
    for (int i = 0; i < k_many; ++i)
        shares.append(share(text("quay%1").arg(i), { text("anna") }, {}));
    QJsonObject wide = description();
    wide.insert(text("shares"), shares);
    const SmbServer server(wide);
    QCOMPARE(server.problem(), QString());
    const NodeID id = insert(text("anna"), k_annas, server.port());
    QCOMPARE(nextError(), QString());
    int writable = 0;
    for (const QString& each : node(id)->shareNames())
        writable += int(node(id)->usersWithFullAccess(each).size());
    QCOMPARE(writable, k_many);
}

void TestNASShares::changesNothingOnTheStorage()
{
    const NodeID id = insertRead();
    const QFileInfo before(m_server->folderOf(text("records")));
    const QFile::Permissions permissions = before.permissions();
    const QDateTime modified = before.lastModified();
    QCOMPARE(read(id), QString());
    QCOMPARE(node(id)->usersWithFullAccess(text("records")).size(), 1);
    const QFileInfo after(m_server->folderOf(text("records")));
    QCOMPARE(after.permissions(), permissions);
    QCOMPARE(after.lastModified(), modified);
    QCOMPARE(QDir(after.filePath()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
        QStringList{ text("a.txt") });

    // One file system holds all the shares: it counts once.
    const QStorageInfo space(after.filePath());
    const double total = double(space.bytesTotal()) / 1e9;
    const double free = double(space.bytesAvailable()) / 1e9;
    QVERIFY(qAbs(node(id)->floatProperty(text("TotalCapacity"), 0) - total) < total / 50);
    QVERIFY(qAbs(double(node(id)->freeSpace()) - free) < total / 10);
}

void TestNASShares::keepsWhatItCannotKnow()
{
    const NodeID id = insert(QString(), QString());
    edit<NASDeviceNode>(id, [](auto& node) {
        node.addLocalUser(text("cleo"), QString(), true); // the password is not known
        node.addLocalUser(text("ben"), text("wrong"), true);
        node.addShare(text("vault"), text("volume1"), text("/mnt/vault"));
        node.addShare(text("gone"), QString(), QString());
        for (const char* const name : { "cleo", "ben" })
            node.setAccessRights(text("vault"), text(name), NASDeviceNode::eReadOnlyAccess);
        node.setUser(text("anna"), k_annas);
    });
    QCOMPARE(nextError(), QString());
    QCOMPARE(node(id)->userNames(), QStringList({ text("cleo"), text("ben"), text("anna") }));
    QVERIFY(!node(id)->existsShare(text("gone")));
    const auto vault = node(id)->share(text("vault"));
    QCOMPARE(vault.volume, text("volume1"));
    QCOMPARE(vault.path, text("/mnt/vault"));
    QCOMPARE(vault.acl,
        QList<NASDeviceNode::AccessControl>({ { text("cleo"), NASDeviceNode::eReadOnlyAccess },
            { text("ben"), NASDeviceNode::eReadOnlyAccess } }));
    QCOMPARE(m_fixture->log.linesWith(text("refused the login of ben")).size(), 1);
}

void TestNASShares::keepsRightsOnAShareThatIsBroken()
{
    const NodeID id = insertRead();
    const auto before = node(id)->shares();
    const QString folder = m_server->folderOf(text("records"));
    QVERIFY(QDir().rename(folder, folder + text(".away")));
    const QString error = read(id);
    QVERIFY(QDir().rename(folder + text(".away"), folder));
    QCOMPARE(error, QString());
    QCOMPARE(node(id)->accessRights(text("records"), text("anna")), NASDeviceNode::eFullAccess);
    QCOMPARE(node(id)->shares(), before);
    QCOMPARE(m_fixture->log.linesWith(text("could not be found out: 1")).size(), 1);
}

void TestNASShares::createsOnlyWhenAllowed()
{
    // A folder with one more attribute: to set its attributes again would not leave it as it is.
    const QString records = text("records");
    QByteArray said;
    const auto ask = [&](const QString& commands) {
        return m_server->run(records, text("anna"), k_annas, commands, &said);
    };
    if (!ask(text("setmode \\ +h; allinfo \\")) || !said.contains("attributes: HD"))
        QSKIP("the file system keeps no attributes of files");
    const NodeID id = insertRead();
    QCOMPARE(node(id)->accessRights(records, text("anna")), NASDeviceNode::eReadOnlyAccess);
    Loader::instance().setOption(text("nasdevice/writeTest"), text("create"));
    QCOMPARE(read(id), QString());
    QCOMPARE(node(id)->accessRights(records, text("anna")), NASDeviceNode::eFullAccess);
    QVERIFY(ask(text("allinfo \\")) && said.contains("attributes: HD"));
    QCOMPARE(
        QDir(m_server->folderOf(records)).entryList(QDir::Files), QStringList{ text("a.txt") });
    QVERIFY(ask(text("setmode \\ -h")));
}

void TestNASShares::leavesTheNodeAloneWhenRefused()
{
    const NodeID id = insertRead();
    const QVariantList before = stateOf(node(id));
    edit<NASDeviceNode>(id, [](auto& node) { node.setUser(text("anna"), text("not-her-word")); });
    QCOMPARE(nextError(), text("The device refused the login of anna."));
    QCOMPARE(stateOf(node(id)), before);
    QCOMPARE(node(id)->localUser(text("anna")).password, k_annas);
    QCOMPARE(m_fixture->log.linesWith(text("2 ")).filter(text("refused the login")).size(), 1);
    QCOMPARE(m_fixture->log.linesWith(text("not-her-word")), QStringList());
}

void TestNASShares::givesUpOnSilence()
{
    const NodeID id = insertRead();
    const QVariantList before = stateOf(node(id));
    Loader::instance().setOption(text("nasdevice/timeout"), text("1"));
    m_server->send(SIGSTOP);
    QCOMPARE(m_reader->readDevice(id), QString());
    QCOMPARE(m_reader->readDevice(id), QString()); // joins
    QCOMPARE(nextError(), text("127.0.0.1 did not answer within 1 s."));
    QCOMPARE(stateOf(node(id)), before);
    m_server->send(SIGCONT);
    Loader::instance().setOption(text("nasdevice/timeout"), QString());
    QCOMPARE(read(id), QString());
    QVERIFY(m_ended->isEmpty());
}

void TestNASShares::dropsTheAnswerOfAnotherDevice()
{
    m_server->send(SIGSTOP);
    const NodeID id = insert(text("anna"), k_annas);
    QCOMPARE(m_reader->readDevice(id), QString());
    edit<NASDeviceNode>(id, [](auto& node) { node.setHostAddress(text("192.0.2.1")); });
    m_server->send(SIGCONT);
    QCOMPARE(nextError(), text("The storage's address or login changed meanwhile."));
    QCOMPARE(node(id)->shareNames(), QStringList());
    QCOMPARE(node(id)->userNames(), QStringList());
    QCOMPARE(m_fixture->log.linesWith(text("changed meanwhile")).size(), 1);
}

void TestNASShares::dropsTheAnswerToAnotherLogin()
{
    m_server->send(SIGSTOP);
    const NodeID id = insert(text("anna"), k_annas);
    QCOMPARE(m_reader->readDevice(id), QString());
    edit<NASDeviceNode>(id, [](auto& node) { node.setUser(text("ben"), k_bens); });
    m_server->send(SIGCONT);
    QCOMPARE(nextError(), text("The storage's address or login changed meanwhile."));
    QCOMPARE(nextError(), QString()); // with ben's
    QCOMPARE(node(id)->userNames(), QStringList{ text("ben") });
    QCOMPARE(node(id)->shareNames().size(), 4);
}

void TestNASShares::survivesConnectionsThatBreak()
{
    const NodeID good = insertRead();
    m_fixture->db->removeNode(good);
    int broken = 0;
    for (int bytes = 100;; bytes *= 2) {
        SmbTraffic traffic;
        SmbRelay cutter(text("127.0.0.1"), m_server->port(), traffic);
        const NodeID id = insert(text("anna"), k_annas, cutter.port());
        traffic.answered = SmbRelay::k_mostAnswered - bytes;
        const QString error = nextError();
        const bool isRead = error.isEmpty();
        QCOMPARE(node(id)->shareNames().isEmpty(), !isRead);
        m_fixture->db->removeNode(id);
        if (isRead)
            break;
        QVERIFY2(error.startsWith(text("127.0.0.1 broke off")), qPrintable(error));
        ++broken;
    }
    QVERIFY(broken > 3);
    const NodeID id = insert(text("anna"), k_annas, 1);
    QVERIFY(nextError().startsWith(text("127.0.0.1 cannot be reached")));
    QVERIFY(node(id)->shareNames().isEmpty());
}

void TestNASShares::readsByItselfWhenALoginIsSet()
{
    const NodeID id = insert(QString(), QString());
    QCOMPARE(m_reader->readDevice(id), text("There is no login for Barn."));
    m_fixture->db->setGlobalAuthentication(text("anna"), k_annas);
    QCOMPARE(m_reader->readDevice(id), text("There is no login for Barn."));
    edit<NASDeviceNode>(id, [](auto& node) {
        node.setStringProperty(text("Password"), k_annas);
        node.setStringProperty(text("User"), text("anna"));
    });
    QCOMPARE(nextError(), QString());
    QCOMPARE(node(id)->shareNames().size(), 4);

    // What does not change how the storage is reached reads nothing.
    QSignalSpy known(m_fixture->db, &NodeDB::duplicateNodeHint);
    NodeHintIPDevice hint;
    node(id)->fillHint(hint);
    m_fixture->db->newNodeHint(hint);
    QCOMPARE(known.size(), 1);
    m_driver->createNodeFromHint(hint);
    m_fixture->db->setActiveUser(text("somebody"));
    m_fixture->db->setActiveUser(QString());
    QCOMPARE(read(id), QString());
    QVERIFY(m_ended->isEmpty());
}

void TestNASShares::waitsForTheEndOfAnEdit()
{
    const NodeID id = insert(QString(), QString());
    edit<NASDeviceNode>(id, [](auto& node) { node.setUser(text("anna"), k_annas); });
    Node* const copy = m_fixture->db->beginUpdateNode(id, 0);
    QSignalSpy asked(m_fixture->db, &NodeDB::beginUpdatingNode);
    QTRY_VERIFY_WITH_TIMEOUT(!asked.isEmpty(), k_bound); // it was read
    QVERIFY(m_ended->isEmpty());
    copy->setNote(text("edited"));
    m_fixture->db->endUpdateNode(copy);
    QCOMPARE(nextError(), QString());
    QCOMPARE(node(id)->shareNames().size(), 4);
    QCOMPARE(node(id)->note(), text("edited"));
}

void TestNASShares::survivesTheEndOfNodeDatabaseAndDriver()
{
    m_server->send(SIGSTOP);
    const NodeID id = insert(text("anna"), k_annas);
    QCOMPARE(m_reader->readDevice(id), QString());
    m_fixture->db->removeNode(id);
    m_server->send(SIGCONT);
    QCOMPARE(nextError(), text("The node is gone."));

    m_server->send(SIGSTOP);
    QCOMPARE(m_reader->readDevice(insert(text("anna"), k_annas)), QString());
    m_fixture.reset();
    QCOMPARE(nextError(), text("The database was closed."));
    m_fixture = std::make_unique<tst::Database>();
    QCOMPARE(m_reader->readDevice(insert(text("anna"), k_annas)), QString());
    const QPointer<QObject> root = m_reader->readFinishedSignal().sender();
    cleanup();
    QVERIFY(!root);
    m_server->send(SIGCONT);
}

void TestNASShares::boundsWhatItReads()
{
    const QString records = m_server->folderOf(text("records"));
    QStringList names;
    for (int i = 0; i < 20000; ++i) { // twice the bytes that a listing may have
        names.append(records + text("/%1").arg(i, 200, 10, QLatin1Char('0')));
        QFile file(names.last());
        QVERIFY(file.open(QFile::WriteOnly));
    }
    const NodeID id = insertRead();
    for (const QString& name : names)
        QFile::remove(name);
    // A listing that is cut off shows that there is one, and nothing more.
    QCOMPARE(node(id)->accessRights(text("records"), text("anna")), NASDeviceNode::eReadOnlyAccess);
    QCOMPARE(node(id)->accessRights(text("archive"), text("anna")), NASDeviceNode::eReadOnlyAccess);
    QCOMPARE(node(id)->accessRights(text("vault"), text("anna")), NASDeviceNode::eNoAccess);
    QCOMPARE(read(id), QString());
    QCOMPARE(node(id)->accessRights(text("records"), text("anna")), NASDeviceNode::eFullAccess);
}

QTEST_GUILESS_MAIN(TestNASShares)

#include "tst_nasshares.moc"
