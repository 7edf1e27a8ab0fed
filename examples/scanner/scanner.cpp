// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// The smallest scanner: each start finds one device, at an address kept for documentation.
#include "discovery/inodescanner.h"
#include "discovery/nodehintipdevice.h"

#include "platform/component.h"

#include <QTimer>

using namespace tq;

class ExampleScanner : public QObject, public IComponent, public INodeScanner
{
    Q_OBJECT
    // The interface id is fixed; the JSON file tells the loader what is in here.
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    ExampleScanner()
    {
        m_timer.setSingleShot(true);
        QObject::connect(&m_timer, &QTimer::timeout, this, &ExampleScanner::find);
    }

    // Both bases are interfaces: one of them answers for the names of both.
    using INodeScanner::getInterface;

    // The meaning of the two arguments is the scanner's own; this one needs none. The search goes
    // on in the event loop: a start must not block.
    void start(unsigned int, int) override { m_timer.start(0); }
    void stop() override { m_timer.stop(); }
    bool isRunning() const override { return m_timer.isActive(); }
    QString scannerName() const override { return QStringLiteral("example"); }

    QtSignal newHintSignal() override
    {
        return QtSignal(this, SIGNAL(newHint(const tq::NodeHint&)));
    }
    QtSignal hintChangedSignal() override
    {
        return QtSignal(this, SIGNAL(hintChanged(const tq::NodeHint&)));
    }
    QtSignal hintGoneSignal() override
    {
        return QtSignal(this, SIGNAL(hintGone(const tq::NodeHint&)));
    }

signals:
    void newHint(const tq::NodeHint& hint);
    void hintChanged(const tq::NodeHint& hint);
    void hintGone(const tq::NodeHint& hint);

private:
    void find()
    {
        NodeHintIPDevice hint;
        hint.setName(QStringLiteral("Example device"));
        hint.setHostAddress(QStringLiteral("192.0.2.1"));
        // A known type goes straight to its driver; without one every driver is asked.
        hint.setNodeType(ENodeType(20));
        emit newHint(hint);
    }

    QTimer m_timer;
};

#include "scanner.moc"
