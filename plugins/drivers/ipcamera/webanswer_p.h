// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>

namespace tq {

/** What is there of a web server's answer: at most 64 KiB of it, its head included. */
class WebAnswer
{
public:
    /** Returns how many more bytes are of use. */
    qsizetype room() const;

    /** Takes the next bytes; not more than there is room. */
    void take(const QByteArray& bytes);

    /** Returns whether the head is there: of the answer itself, not of one that goes before it. */
    bool hasHead() const { return m_bodyBegin >= 0; }

    /** Returns whether what came cannot become an answer of a web server. */
    bool isForeign() const;

    /** Returns the status; 0 while the head is not there, or not HTTP. */
    int status() const;

    /** Returns the value of the first header field of that name, given in small letters. */
    QByteArray field(const QByteArray& name) const;

    /** Returns the values of all of them, in order. */
    QList<QByteArray> fields(const QByteArray& name) const;

    /** Returns what is there of the body, without the marks of a body sent in chunks. */
    QByteArray body() const;

    /** Returns whether no more is to come, as the answer itself says. */
    bool isWhole() const;

private:
    bool isChunked() const;

    QByteArray m_received;
    qsizetype m_headBegin = 0;
    qsizetype m_bodyBegin = -1;
};

} // namespace tq
