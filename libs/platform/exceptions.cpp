// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/exceptions.h"

namespace tq {

namespace {

QByteArray describe(const QString& text, const ExceptionQt::Cause& cause)
{
    QByteArray whole = text.toUtf8();
    if (cause)
        whole += " (" + QByteArray(cause->what()) + ')';
    return whole;
}

} // namespace

ExceptionQt::ExceptionQt(const QString& message, Cause cause)
    : ExceptionQt(message, message, std::move(cause))
{
}

ExceptionQt::ExceptionQt(const QString& message, const QString& whole, Cause cause)
    : m_message(message), m_cause(std::move(cause)), m_what(describe(whole, m_cause))
{
}

ExceptionQt::~ExceptionQt() = default;

IllegalArgumentException::IllegalArgumentException(
    const QString& value, const QString& message, Cause cause)
    : ExceptionQt(message, message + QStringLiteral(": ") + value, std::move(cause)), m_value(value)
{
}

IllegalArgumentException::~IllegalArgumentException() = default;

} // namespace tq
