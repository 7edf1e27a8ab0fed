// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/nasdevicenode.h"
#include "parts/recognisingnode.h"

namespace tq {

/** Where SMB servers listen unless they say otherwise. */
constexpr int k_smbPort = 445;

/**
 * Returns where a hint says that a storage's SMB server listens: where its DNS-SD record of the
 * type _smb._tcp says, or on the port that a person entered. Other records and hints speak of other
 * services of the device, and 80 is what a new hint has: they give k_smbPort.
 */
int smbPortOf(const NodeHint& hint);

/**
 * A network storage whose shares are reached over SMB.
 *
 * Its port is that of its SMB server, per environment like its address, and SSL is off. Of a share
 * it knows the name; `path` is "/" and the name, and `volume` is empty, until a person enters
 * something else: SMB tells neither the volume nor the folder behind a share.
 */
class NASNode : public RecognisingNode<NASDeviceNode>
{
    Q_OBJECT

public:
    explicit NASNode(const QString& id);

    Node* clone() const override;

    /** Returns the image ":/nodeIcons/storage.png", which the application supplies. */
    QIcon icon() const override;

    /** As the base's. A login whose password is not to be stored is not stored as a local user's
     * either. */
    bool updateField(const tqgen::BaseProperty& property) override;
    void setSavePassword(bool save) override;

    /**
     * Takes over a changed address, the MAC while none is known, and what a DNS-SD record says; the
     * port only from one of the type _smb._tcp.
     */
    void updateFromHint(const NodeHint& hint) override;

    /** Names the port only where it is not the usual one. */
    QString shareUrl(const QString& share) const override;

    /** Returns the property "FreeCapacity". */
    float freeSpace() const override;

private:
    void keepLoginSecret();
};

} // namespace tq
