// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "lab/attacker.h"

#include <QLocalSocket>
#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QProcess>
#include <QRegularExpression>

#include <fcntl.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tst {

namespace {

constexpr int k_firstAddress = 100;
constexpr int k_lastAddress = 250;
constexpr quint16 k_port = 3702;
const QHostAddress k_group(u"239.255.255.250"_s);
const QHostAddress k_near(u"10.77.0.1"_s);
const QString k_link = u"foe"_s;

QString addressOf(int number)
{
    return u"10.77.0.%1"_s.arg(number);
}

/** Returns the process that listens on the lab's control socket, 0 for none: it lives on the
 * devices' side. */
int processOfDevices()
{
    QLocalSocket socket;
    socket.connectToServer(qEnvironmentVariable("LAB_CONTROL"));
    ucred peer{};
    socklen_t size = sizeof(peer);
    const int descriptor = int(socket.socketDescriptor());
    return getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : 0;
}

/** While it lives, what this thread opens or starts is in the network of another process. */
class Visit
{
public:
    explicit Visit(int process)
    {
        const QByteArray path = "/proc/" + QByteArray::number(process) + "/ns/net";
        m_home = ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
        const int there = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
        m_isThere = m_home >= 0 && there >= 0 && ::setns(there, CLONE_NEWNET) == 0;
        ::close(there);
    }
    ~Visit()
    {
        if (m_isThere && ::setns(m_home, CLONE_NEWNET) != 0)
            qFatal("no way back from the devices' network");
        ::close(m_home);
    }
    Q_DISABLE_COPY_MOVE(Visit)

    bool isThere() const { return m_isThere; }

private:
    int m_home = -1;
    bool m_isThere = false;
};

} // namespace

QString Attacker::join()
{
    m_process = processOfDevices();
    const Visit visit(m_process);
    if (!visit.isThere())
        return u"the devices' network namespace cannot be entered"_s;
    const QString refusal = addLinks();
    if (!refusal.isEmpty())
        return u"the devices' side takes no more interfaces: "_s + refusal;
    return openSockets() ? QString() : u"no sockets on the devices' side"_s;
}

QStringList Attacker::enter() const
{
    return { u"nsenter"_s, u"--net=/proc/%1/ns/net"_s.arg(m_process) };
}

QString Attacker::addLinks() const
{
    QStringList lines{ u"link add foe link far type macvlan mode bridge"_s,
        u"link add foe-names link far type macvlan mode bridge"_s,
        u"addr add 10.77.0.251/24 brd + dev foe-names"_s };
    for (int number = k_firstAddress; number <= k_lastAddress; ++number)
        lines += u"addr add %1/24 brd + dev foe"_s.arg(addressOf(number));
    lines += { u"link set foe up"_s, u"link set foe-names up"_s };
    QProcess ip;
    ip.start(u"ip"_s, { u"-batch"_s, u"-"_s });
    ip.write(lines.join(u'\n').toUtf8() + '\n');
    ip.closeWriteChannel();
    const bool isDone = ip.waitForFinished() && ip.exitCode() == 0;
    return isDone ? QString() : ip.errorString() + QString::fromUtf8(ip.readAllStandardError());
}

bool Attacker::openSockets()
{
    const QNetworkInterface link = QNetworkInterface::interfaceFromName(k_link);
    m_ear = std::make_unique<QUdpSocket>();
    bool isReady = m_ear->bind(QHostAddress::AnyIPv4, k_port, QUdpSocket::ShareAddress)
        && m_ear->joinMulticastGroup(k_group, link);
    for (int number = k_firstAddress; number <= k_lastAddress; ++number) {
        m_mouths.push_back(std::make_unique<QUdpSocket>());
        isReady = isReady && m_mouths.back()->bind(QHostAddress(addressOf(number)), 0);
        m_mouths.back()->setMulticastInterface(link);
    }
    return isReady;
}

bool Attacker::hasHeardProbe()
{
    static const QRegularExpression id(u"MessageID>([^<]+)<.*:Probe>"_s);
    while (m_victim == 0 && m_ear->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_ear->receiveDatagram();
        const auto found = id.match(QString::fromUtf8(datagram.data()));
        if (datagram.senderAddress() != k_near || !found.hasMatch())
            continue;
        m_probe = found.captured(1).toUtf8();
        m_victim = quint16(datagram.senderPort());
    }
    return m_victim != 0;
}

int Attacker::sendRound(int number)
{
    QUdpSocket& mouth = *m_mouths.at(std::size_t(number) % m_mouths.size());
    int sent = 0;
    const auto messages =
        hostileMessages(number, m_probe, mouth.localAddress().toString().toUtf8());
    for (const HostileMessage& each : messages) {
        const auto written = each.isToGroup ? mouth.writeDatagram(each.bytes, k_group, k_port)
                                            : mouth.writeDatagram(each.bytes, k_near, m_victim);
        sent += written == each.bytes.size() ? 1 : 0;
    }
    return sent;
}

} // namespace tst
