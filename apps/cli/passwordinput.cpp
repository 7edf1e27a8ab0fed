// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/passwordinput.h"

#include "cli/output.h"

#include <QCommandLineParser>
#include <QFile>

#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace tq::cli {

namespace {

const QString k_file = QStringLiteral("password-file");
const QString k_stdin = QStringLiteral("password-stdin");
constexpr qint64 k_longest = 4096;

/** The terminal without echo and line editing, so that Ctrl-C arrives as a key and leaves nothing
 * switched off. */
class RawTerminal
{
public:
    RawTerminal()
    {
        m_isRaw = ::tcgetattr(STDIN_FILENO, &m_before) == 0;
        termios raw = m_before;
        raw.c_lflag &= ~tcflag_t(ECHO | ICANON | ISIG);
        raw.c_cc[VMIN] = 1;
        raw.c_cc[VTIME] = 0;
        if (m_isRaw)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &raw);
    }

    ~RawTerminal()
    {
        if (m_isRaw)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    }

    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;

private:
    termios m_before{};
    bool m_isRaw = false;
};

/** Removes the last character of UTF-8 text, all its bytes. */
void chopCharacter(QByteArray& utf8)
{
    while (!utf8.isEmpty() && (uchar(utf8.back()) & 0xc0) == 0x80)
        utf8.chop(1);
    utf8.chop(1);
}

/** Reads a line key by key. Returns false when it was given up with Ctrl-C or Ctrl-D. */
bool readKeys(QByteArray& line)
{
    const RawTerminal terminal;
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
    if (!canAsk())
        return Outcome::refused(
            QStringLiteral("there is no terminal to ask for %1 on: use --%2 or --%3")
                .arg(what, k_file, k_stdin));
    QByteArray line;
    std::fprintf(stderr, "%s: ", qUtf8Printable(what));
    std::fflush(stderr);
    const bool isGiven = readKeys(line);
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
    return Outcome::done();
}

} // namespace

void addPasswordOptions(QCommandLineParser& parser)
{
    parser.addOption({ k_file, QStringLiteral("Take the password from the first line of a file."),
        QStringLiteral("FILE") });
    parser.addOption(
        { k_stdin, QStringLiteral("Take the password from the first line of standard input.") });
}

bool isPasswordGiven(const QCommandLineParser& parser)
{
    return parser.isSet(k_file) || parser.isSet(k_stdin);
}

bool canAsk()
{
    return ::isatty(STDIN_FILENO) == 1;
}

Outcome readPassword(const QCommandLineParser& parser, const QString& what, QString& password)
{
    if (parser.isSet(k_file) && parser.isSet(k_stdin))
        return Outcome::usage(
            QStringLiteral("--%1 and --%2 exclude each other").arg(k_file, k_stdin));
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
