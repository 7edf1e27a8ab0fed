// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/userandpasswordnodeproperty.h"
#include "nodestore/node.h"

namespace tq {

/** A folder that the recordings of a device go to; no scanner finds it. */
class RecordingFolderNode : public Node
{
    Q_OBJECT

public:
    explicit RecordingFolderNode(const QString& id);

    /** Returns the id of the folder of a device. */
    static QString idFor(const QString& deviceId);

    Node* clone() const override;
    bool isIdentical(const NodeHint& hint) const override;

    /** Nothing on the network changes a folder. */
    void updateFromHint(const NodeHint& hint) override;

    /**
     * Writes name, type, the path as second text, and the device's id as third text. Not the login:
     * signals carry hints to whoever listens, and nobody logs in at a folder by its hint.
     */
    void fillHint(NodeHint& hint) const override;

    /** Returns the picture of a folder. */
    QIcon icon() const override;

    QString path() const;
    void setPath(const QString& path);

    /** What it takes to write there; with the save flag clear the password is dropped at once. */
    UserAndPassword login() const;
    void setLogin(const UserAndPassword& login);

private:
    SimpleNodeProperty<QString> m_path;
    UserAndPasswordNodeProperty m_login;
};

} // namespace tq
