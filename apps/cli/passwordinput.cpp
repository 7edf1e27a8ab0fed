// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/passwordinput.h"

#include "cli/output.h"
#include "cli/rawterminal.h"

#include <QCommandLineParser>
#include <QFile>

#include <cstdio>
#include <unistd.h>

namespace tq::cli {

namespace {

const QString k_file = QStringLiteral("password-file");
const QString k_stdin = QStringLiteral("password-stdin");
const QString k_none = QStringLiteral("no-password");
constexpr qint64 k_longest = 4096;

/** Removes the last character of UTF-8 text, all its bytes. */
void chopCharacter(QByteArray& utf8)
{
    while (!utf8.isEmpty() && (uchar(utf8.back()) & 0xc0) == 0x80)
        utf8.chop(1);
    utf8.chop(1);
}

/** Asks, and reads a line key by key. Returns false when it was given up with Ctrl-C or Ctrl-D. */
bool readKeys(const QString& what, QByteArray& line)
{
    const RawTerminal terminal; // before the question: an answer may come at once
    std::fprintf(stderr, "%s: ", qUtf8Printable(what));
    std::fflush(stderr);
    char key = 0;
    while (::read(STDIN_FILENO, &key, 1) == 1) {
        switch (key) {
        case '\n':
        case '\r':
            return true;
        case 0x03: // Ctrl-C
        case 0x04: // Ctrl-D
            return false;
        case 0x08:
        case 0x7f:
            chopCharacter(line);
            break;
        case 0x15: // Ctrl-U
            line.clear();
            break;
        default:
            line.append(key);
        }
    }
    return false;
}

Outcome ask(const QString& what, QString& password)
{
    if (::isatty(STDIN_FILENO) != 1)
        return Outcome::refused(
            QStringLiteral("there is no terminal to ask for %1 on: use --%2, --%3 or --%4")
                .arg(what, k_file, k_stdin, k_none));
    QByteArray line;
    const bool isGiven = readKeys(what, line);
    std::fputc('\n', stderr);
    password = QString::fromUtf8(line);
    return isGiven ? Outcome::done()
                   : Outcome::refused(QStringLiteral("no password was given for %1").arg(what));
}

Outcome readFirstLine(QIODevice& device, const QString& name, QString& password)
{
    QByteArray line = device.readLine(k_longest + 1);
    if (line.size() >= k_longest)
        return Outcome::refused(QStringLiteral("the first line of %1 is too long").arg(name));
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    password = QString::fromUtf8(line);
    return password.isEmpty() ? Outcome::refused(
               QStringLiteral("there is no password in %1; --%2 stands for an empty one")
                   .arg(name, k_none))
                              : Outcome::done();
}

} // namespace

void addPasswordOptions(QCommandLineParser& parser)
{
    parser.addOption({ k_file, QStringLiteral("Take the password from the first line of a file."),
        QStringLiteral("FILE") });
    parser.addOption(
        { k_stdin, QStringLiteral("Take the password from the first line of standard input.") });
    parser.addOption({ k_none, QStringLiteral("The password is an empty one.") });
}

bool isPasswordGiven(const QCommandLineParser& parser)
{
    return parser.isSet(k_file) || parser.isSet(k_stdin) || parser.isSet(k_none);
}

Outcome readPassword(const QCommandLineParser& parser, const QString& what, QString& password)
{
    if (int(parser.isSet(k_file)) + int(parser.isSet(k_stdin)) + int(parser.isSet(k_none)) > 1)
        return Outcome::usage(
            QStringLiteral("--%1, --%2 and --%3 exclude each other").arg(k_file, k_stdin, k_none));
    if (parser.isSet(k_none)) {
        password.clear();
        return Outcome::done();
    }
    if (!isPasswordGiven(parser))
        return ask(what, password);
    QFile file;
    QString name = QStringLiteral("standard input");
    bool isOpen = false;
    if (parser.isSet(k_stdin)) {
        isOpen = file.open(stdin, QIODevice::ReadOnly);
    } else {
        file.setFileName(parser.value(k_file));
        name = quoted(file.fileName());
        isOpen = file.open(QIODevice::ReadOnly);
    }
    if (!isOpen)
        return Outcome::refused(QStringLiteral("the password cannot be read from %1: %2")
                                    .arg(name, file.errorString()));
    return readFirstLine(file, name, password);
}

} // namespace tq::cli
