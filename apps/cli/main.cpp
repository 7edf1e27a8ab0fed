// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commandline.h"

#include <QCoreApplication>

#include <clocale>
#include <cstring>
#include <langinfo.h>

namespace {

/** Minimal systems set no locale; without one of UTF-8, Qt would complain before anything else is
 * said. */
void useUtf8()
{
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(::nl_langinfo(CODESET), "UTF-8") != 0)
        qputenv("LC_ALL", "C.UTF-8");
}

} // namespace

int main(int argc, char* argv[])
{
    useUtf8();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("nodedb"));
    return tq::cli::CommandLine().run(QCoreApplication::arguments());
}
