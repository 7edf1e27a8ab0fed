// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/nasnode.h"

#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"

#include <QIcon>
#include <QUrl>

#include <memory>

namespace tq {

namespace {

constexpr int k_portOfNewHints = 80;

bool isOfSmb(const SServiceInfo& record)
{
    return record.serviceType.startsWith(QLatin1String("_smb."), Qt::CaseInsensitive)
        && record.port != 0;
}

} // namespace

int smbPortOf(const NodeHint& hint)
{
    const auto* const record = dynamic_cast<const NodeHintFromBonjour*>(&hint);
    if (record && isOfSmb(*record))
        return record->port;
    const auto* const entered = dynamic_cast<const NodeHintIPDevice*>(&hint);
    const bool isExact =
        entered && factsOf(hint).service == eManualService && entered->port() != k_portOfNewHints;
    return isExact ? entered->port() : k_smbPort;
}

NASNode::NASNode(const QString& id) : RecognisingNode(eNetworkStorageNode, id) { }

Node* NASNode::clone() const
{
    auto copy = std::make_unique<NASNode>(id());
    deepCopy(copy.get());
    return copy.release();
}

QIcon NASNode::icon() const
{
    static const QIcon icon(QStringLiteral(":/nodeIcons/storage.png"));
    return icon;
}

bool NASNode::updateField(const tqgen::BaseProperty& property)
{
    const bool isTaken = RecognisingNode::updateField(property);
    keepLoginSecret();
    return isTaken;
}

void NASNode::setSavePassword(bool save)
{
    NASDeviceNode::setSavePassword(save);
    keepLoginSecret();
}

void NASNode::keepLoginSecret()
{
    const QString name = user(false);
    if (!name.isEmpty() && !savePassword() && existsLocalUser(name))
        localUser(name).savePassword = false;
}

void NASNode::updateFromHint(const NodeHint& hint)
{
    const auto* const said = dynamic_cast<const NodeHintFromBonjour*>(&hint);
    if (!said)
        return takeOver(*this, hint);
    NodeHintFromBonjour record(*said);
    record.isResolved = 0; // the port of a web server is not ours
    takeOver(*this, record);
    if (said->isResolved != 0 && isOfSmb(*said))
        setPort(said->port);
}

QString NASNode::shareUrl(const QString& share) const
{
    QUrl url;
    url.setScheme(QStringLiteral("smb"));
    url.setHost(hostAddress());
    if (url.host().isEmpty() || !existsShare(share))
        return QString();
    if (port() != k_smbPort)
        url.setPort(port());
    url.setPath(QLatin1Char('/') + share, QUrl::DecodedMode);
    return url.toString(QUrl::FullyEncoded);
}

float NASNode::freeSpace() const
{
    return floatProperty(QStringLiteral("FreeCapacity"), 0);
}

} // namespace tq
