// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/qtsignal.h"

#include "platform/logline.h"

namespace tq {

namespace {

constexpr char k_signalCode = '0' + QSIGNAL_CODE;

} // namespace

QtSignal::QtSignal(QObject* sender, const char* signature)
    : m_sender(sender), m_signature(signature)
{
    if (!m_signature.isEmpty() && m_signature.front() != k_signalCode)
        m_signature.prepend(k_signalCode);
}

bool connect(const QtSignal& signal, QObject* receiver, const char* slot, Qt::ConnectionType type)
{
    const bool done = signal.sender() && receiver
        && QObject::connect(signal.sender(), signal.signature().constData(), receiver, slot, type);
    if (!done)
        logLine(Log::eSurvived, "Cannot connect ", signal.signature().toStdString(), " to ",
            std::string(slot));
    return done;
}

bool disconnect(const QtSignal& signal, QObject* receiver, const char* slot)
{
    return signal.sender() && receiver
        && QObject::disconnect(signal.sender(), signal.signature().constData(), receiver, slot);
}

} // namespace tq
