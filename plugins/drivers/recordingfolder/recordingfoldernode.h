// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

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

    /** Writes name, type, the path as second text, and the device's id as third text. */
    void fillHint(NodeHint& hint) const override;

    QString path() const;
    void setPath(const QString& path);

private:
    SimpleNodeProperty<QString> m_path;
};

} // namespace tq
