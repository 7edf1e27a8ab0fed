// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/userandpassword.h"
#include "nodestore/nodetypes.h"

#include "platform/testexport.h"

namespace tq {

class IPersistDestination;

/** The database-wide settings that are plain values. Comparing and announcing is the database's. */
struct TQ_TEST_EXPORT GlobalSettings
{
    struct Transponder
    {
        QString ip;
        int port = 80;
        bool ssl = false;
        QString path;
        EPreviewType previewMode = eDefaultPreviewType;
        float framerate = 1.0F;
        int quality = 40;
        int resolutionX = 320;
        int resolutionY = 240;
        bool sound = false;
        UserAndPassword login{ QString(), QString(), false };
    };

    QString activeUser; ///< never stored
    QString recordingFolderPath;
    UserAndPassword recordingFolderLogin;
    UserAndPassword authentication;
    Transponder transponder;

    /** Each pair writes or reads the contents of one group, which the caller opens. */
    void saveRecordingFolder(IPersistDestination* target) const;
    void loadRecordingFolder(IPersistDestination* source);
    void saveTransponder(IPersistDestination* target) const;
    void loadTransponder(IPersistDestination* source);
    void saveAuthentication(IPersistDestination* target) const;
    void loadAuthentication(IPersistDestination* source);
};

} // namespace tq
