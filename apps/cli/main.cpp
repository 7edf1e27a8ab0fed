// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commandline.h"

#include <QCoreApplication>

#include <clocale>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

namespace {

/** Minimal systems set no locale; without one of UTF-8, Qt would complain before anything else is
 * said. */
void useUtf8()
{
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(::nl_langinfo(CODESET), "UTF-8") != 0)
        qputenv("LC_ALL", "C.UTF-8");
}

/** Takes the numbers of closed standard streams, so that no other file gets one and what is printed
 * with it. Using these fails, as using a closed one does. */
void occupyStandardStreams()
{
    for (const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO }) {
        if (::fcntl(stream, F_GETFD) < 0)
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    occupyStandardStreams();
    useUtf8();
    // Whoever reads the rows of a scan may have enough of them; the scan goes on and is stored.
    std::signal(SIGPIPE, SIG_IGN);
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("nodedb"));
    return tq::cli::CommandLine().run(QCoreApplication::arguments());
}
