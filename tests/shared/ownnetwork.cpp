// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "shared/ownnetwork.h"

#include <QByteArray>
#include <QFile>

#include <cstring>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tst {

namespace {

bool s_hasOwnNetwork = false;

bool write(const char* path, const QByteArray& text)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
        && file.write(text) == text.size();
}

/** Who is not root becomes the root of a user namespace. */
bool leaveNetwork()
{
    if (::unshare(CLONE_NEWNET) == 0)
        return true;
    const QByteArray user = "0 " + QByteArray::number(::getuid()) + " 1";
    const QByteArray group = "0 " + QByteArray::number(::getgid()) + " 1";
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && write("/proc/self/setgroups", "deny")
        && write("/proc/self/uid_map", user) && write("/proc/self/gid_map", group);
}

} // namespace

void enterOwnNetwork()
{
    if (!leaveNetwork())
        return;
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    s_hasOwnNetwork = ::ioctl(socket, SIOCSIFFLAGS, &request) == 0;
    ::close(socket);
}

bool hasOwnNetwork()
{
    return s_hasOwnNetwork;
}

} // namespace tst
