// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "shared/signaltrace.h"

#include "discovery/nodehint.h"

#include <QMetaMethod>
#include <QSignalSpy>

#include <utility>

namespace tst {

namespace {

QString printed(const QVariant& argument)
{
    if (argument.metaType() == QMetaType::fromType<tq::NodeHint>())
        return static_cast<const tq::NodeHint*>(argument.constData())->name();
    // enumerations have no text of their own
    const bool isEnumeration = argument.metaType().flags().testFlag(QMetaType::IsEnumeration);
    return isEnumeration ? QString::number(argument.toInt()) : argument.toString();
}

} // namespace

SignalTrace::SignalTrace(QObject* sender)
{
    const QMetaObject* const meta = sender->metaObject();
    const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("record()"));
    for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        if (method.methodType() != QMetaMethod::Signal)
            continue;
        m_spies.push_back(std::make_unique<QSignalSpy>(sender, method));
        connect(sender, method, this, slot);
    }
}

SignalTrace::~SignalTrace() = default;

void SignalTrace::record()
{
    // Each spy is connected right before this slot: the one that has an entry is the signal that
    // was just emitted.
    for (const auto& spy : m_spies) {
        while (!spy->isEmpty()) {
            QStringList arguments;
            for (const QVariant& argument : spy->takeFirst())
                arguments.append(printed(argument));
            const QByteArray signature = spy->signal();
            m_entries.append(QString::fromLatin1(signature.left(signature.indexOf('(')))
                + QLatin1Char('(') + arguments.join(QLatin1Char(',')) + QLatin1Char(')'));
        }
    }
}

QStringList SignalTrace::take()
{
    return std::exchange(m_entries, {});
}

} // namespace tst
