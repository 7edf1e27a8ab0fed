// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/platform_export.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>

namespace tq {

/** A signal named by text: who sends it and its signature. */
class PLATFORM_EXPORT QtSignal
{
public:
    QtSignal() = default;

    /** `signature` is what SIGNAL() makes, or the same without its leading digit. */
    QtSignal(QObject* sender, const char* signature);

    /** Returns the sender; null when it was never set or is gone. */
    QObject* sender() const { return m_sender; }

    /** Returns the signature as connect() wants it, with the leading digit. */
    QByteArray signature() const { return m_signature; }

private:
    QPointer<QObject> m_sender;
    QByteArray m_signature;
};

/**
 * Connects `signal` to a slot or signal of `receiver`, given as SLOT() or SIGNAL() make it. Returns
 * whether it worked; a refusal is logged at level 2 with both signatures.
 */
PLATFORM_EXPORT bool connect(const QtSignal& signal, QObject* receiver, const char* slot,
    Qt::ConnectionType type = Qt::AutoConnection);

/** Undoes connect(). Returns whether there was anything to undo. */
PLATFORM_EXPORT bool disconnect(const QtSignal& signal, QObject* receiver, const char* slot);

} // namespace tq
