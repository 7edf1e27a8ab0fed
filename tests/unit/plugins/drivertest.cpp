// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "plugins/drivertest.h"

#include "platform/pluginloader.h"

#include <QSet>

using namespace tq;

namespace tst {

void DriverTest::init()
{
    plugin::Loader::instance().addFolder(QStringLiteral(PLUGIN_FOLDER));
    m_fixture = std::make_unique<Database>();
    m_driver = m_fixture->db->nodeDriver(m_type);
    m_reader = m_driver;
    QVERIFY(!m_driver.null() && !m_reader.null());
    const QtSignal ended = m_reader->readFinishedSignal();
    m_ended = std::make_unique<QSignalSpy>(ended.sender(), ended.signature().constData());
    QVERIFY(m_ended->isValid());
}

void DriverTest::cleanup()
{
    m_ended.reset();
    m_reader.reset();
    m_driver.reset();
    m_fixture.reset();
    plugin::Loader::instance().clear();
}

int DriverTest::rankOf(const NodeHint& hint)
{
    QSignalSpy spy = spyOn(m_driver->probeFinishedSignal());
    const int now = m_driver->probe(4711, hint);
    if (now != 0)
        return now;
    if (spy.isEmpty() && !spy.wait(k_bound))
        return 0;
    const auto driver = spy.first().at(1).value<tqm::smart<INodeDriverComponent>>();
    const bool isOurs = spy.size() == 1 && spy.first().at(0).toInt() == 4711 && driver == m_driver;
    return isOurs ? spy.first().at(2).toInt() : 0;
}

void DriverTest::probeMany(const NodeHint& hint, int rank)
{
    QSignalSpy spy = spyOn(m_driver->probeFinishedSignal());
    QSet<int> ids;
    for (int id = 1; id <= 200; ++id) {
        QCOMPARE(m_driver->probe(id, hint), 0);
        ids.insert(id);
    }
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), ids.size(), k_bound);
    for (const auto& answer : spy) {
        QVERIFY(ids.remove(answer.at(0).toInt()));
        QCOMPARE(answer.at(2).toInt(), rank);
    }
}

QString DriverTest::nextError()
{
    if (m_ended->isEmpty() && !m_ended->wait(k_bound))
        return text("no end");
    return m_ended->takeFirst().at(1).toString();
}

QString DriverTest::read(const NodeID& id)
{
    const QString refusal = m_reader->readDevice(id);
    if (!refusal.isEmpty())
        return refusal;
    const bool isAlone = m_ended->isEmpty() && m_ended->wait(k_bound) && m_ended->size() == 1;
    const bool isOurs = isAlone && m_ended->first().at(0).toString() == id;
    return isOurs ? nextError() : text("another end");
}

} // namespace tst
