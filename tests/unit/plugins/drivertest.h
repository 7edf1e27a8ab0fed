// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/idevicereader.h"
#include "discovery/inodedrivercomponent.h"
#include "shared/databasefixture.h"
#include "shared/rows.h"

#include <QSignalSpy>

namespace tst {

/** Each test has a database and a driver from its plug-in, and asks the driver as a database does.
 */
class DriverTest : public QObject
{
    Q_OBJECT

protected:
    static constexpr int k_bound = 30000; ///< ms; far more than anything may take

    explicit DriverTest(tq::ENodeType type) : m_type(type) { }

    /** Probes one hint by itself and returns the answer; 0 when none of the right kind came. */
    int rankOf(const tq::NodeHint& hint);

    /** Probes a hint 200 times at once; every probe is to be answered with `rank`. */
    void probeMany(const tq::NodeHint& hint, int rank);

    /** Returns the error of the next read that ends. */
    QString nextError();

    /** Reads a device and returns the error; "another end" when not this device's alone came. */
    QString read(const tq::NodeID& id);

    /** Changes a node as a person does. */
    template <class Type = tq::IPDeviceNode, class Change>
    void edit(const tq::NodeID& id, Change change)
    {
        tq::Node* const copy = m_fixture->db->beginUpdateNode(id, 0);
        change(dynamic_cast<Type&>(*copy));
        m_fixture->db->endUpdateNode(copy);
    }

    static QSignalSpy spyOn(const tq::QtSignal& signal)
    {
        return QSignalSpy(signal.sender(), signal.signature().constData());
    }

    std::unique_ptr<Database> m_fixture;
    tqm::smart<tq::INodeDriverComponent> m_driver;
    tqm::smart<tq::IDeviceReader> m_reader; ///< the same driver
    std::unique_ptr<QSignalSpy> m_ended; ///< the ends of its reads

protected slots:
    void init();
    void cleanup();

private:
    tq::ENodeType m_type;
};

} // namespace tst
