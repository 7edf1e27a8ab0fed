// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/platform_export.h"

#include <QByteArray>
#include <QString>

#include <exception>
#include <memory>

namespace tq {

/** The root of the exceptions that the platform and its libraries throw. */
class PLATFORM_EXPORT ExceptionQt : public std::exception
{
public:
    using Cause = std::shared_ptr<const ExceptionQt>;

    explicit ExceptionQt(const QString& message, Cause cause = nullptr);
    ExceptionQt(const ExceptionQt&) = default;
    ExceptionQt& operator=(const ExceptionQt&) = default;
    ~ExceptionQt() override;

    QString message() const { return m_message; }

    /** Returns what led to this exception; null when it is the first. */
    Cause cause() const { return m_cause; }

    /** Returns the whole text in UTF-8, causes included. */
    const char* what() const noexcept override { return m_what.constData(); }

protected:
    ExceptionQt(const QString& message, const QString& whole, Cause cause);

private:
    QString m_message;
    Cause m_cause;
    QByteArray m_what;
};

/** An argument that an operation cannot work with: the value that was given and why it is refused.
 */
class PLATFORM_EXPORT IllegalArgumentException : public ExceptionQt
{
public:
    IllegalArgumentException(const QString& value, const QString& message, Cause cause = nullptr);
    IllegalArgumentException(const IllegalArgumentException&) = default;
    IllegalArgumentException& operator=(const IllegalArgumentException&) = default;
    ~IllegalArgumentException() override;

    QString value() const { return m_value; }

private:
    QString m_value;
};

} // namespace tq
