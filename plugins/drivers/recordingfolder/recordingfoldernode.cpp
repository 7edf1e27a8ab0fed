// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/recordingfolder/recordingfoldernode.h"

#include "discovery/nodehint.h"

#include <memory>

namespace tq {

namespace {

const QString k_prefix = QStringLiteral("rec:");

} // namespace

RecordingFolderNode::RecordingFolderNode(const QString& id)
    : Node(eRecordingFolderNode, id)
    , m_path(tr("Path"), this, QStringLiteral("Path"))
    , m_login(QStringLiteral("User"), this, UserAndPassword(), tr("Login"))
{
}

QString RecordingFolderNode::idFor(const QString& deviceId)
{
    return k_prefix + deviceId;
}

Node* RecordingFolderNode::clone() const
{
    auto copy = std::make_unique<RecordingFolderNode>(id());
    deepCopy(copy.get());
    return copy.release();
}

bool RecordingFolderNode::isIdentical(const NodeHint&) const
{
    return false;
}

void RecordingFolderNode::updateFromHint(const NodeHint&) { }

void RecordingFolderNode::fillHint(NodeHint& hint) const
{
    hint.setName(name());
    hint.setNodeType(type());
    hint.setSecondText(path());
    hint.setThirdText(id().startsWith(k_prefix) ? id().mid(k_prefix.size()) : QString());
}

QIcon RecordingFolderNode::icon() const
{
    // Supplied by the application, like those of devices: views look like folders.
    static const QIcon icon(QStringLiteral(":/nodeIcons/storage.png"));
    return icon;
}

QString RecordingFolderNode::path() const
{
    return m_path.value();
}

void RecordingFolderNode::setPath(const QString& path)
{
    m_path.set(path);
    markStale();
}

UserAndPassword RecordingFolderNode::login() const
{
    return { m_login.user(), m_login.password(), m_login.savePassword() };
}

void RecordingFolderNode::setLogin(const UserAndPassword& login)
{
    m_login.setUserAndPassword(login.user, login.password, login.savePassword);
}

} // namespace tq
