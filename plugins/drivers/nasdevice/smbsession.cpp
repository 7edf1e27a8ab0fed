// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
//
// Uses libsmbclient, which is under the GPL, version 3 or later: a program or component that this
// is linked into is under it as well when it is handed on.
#include "drivers/nasdevice/smbsession_p.h"

#include <QScopeGuard>
#include <QUuid>

#include <libsmbclient.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace tq {

namespace {

constexpr int k_patience = 10000; ///< ms; the relay is cut long before
constexpr unsigned int k_onlyFolder = 0x10; ///< attributes of a folder that has no other
constexpr mode_t k_noAttributes = S_IRUSR | S_IWUSR;
const char* const k_server = "smb://127.0.0.1/";

QByteArray urlOf(const QString& share)
{
    return k_server + share.toUtf8().toPercentEncoding() + '/';
}

void fill(char* field, int size, const QByteArray& text)
{
    if (size > 0)
        qstrncpy(field, text.constData(), size_t(size));
}

/** libsmbclient starts anew, and loses some memory, whenever its last context goes: one stays as
 * long as the process. */
void keepLibrary()
{
    static SMBCCTX* const s_context = smbc_new_context();
    static const bool s_isKept = s_context && smbc_init_context(s_context);
    Q_UNUSED(s_isKept)
}

SMBCCTX* newContext()
{
    keepLibrary();
    return smbc_new_context();
}

} // namespace

struct SmbLogin
{
    static void tell(SMBCCTX* context, const char*, const char*, char*, int, char* user,
        int userSize, char* password, int passwordSize)
    {
        const auto* const session = static_cast<const SmbSession*>(smbc_getOptionUserData(context));
        fill(user, userSize, session->m_user);
        fill(password, passwordSize, session->m_password);
    }
};

/** A listing, read to its end when it is made. */
class SmbSession::Folder
{
public:
    Folder(SMBCCTX* context, const QByteArray& url)
        : m_context(context), m_folder(smbc_getFunctionOpendir(context)(context, url.constData()))
    {
    }
    ~Folder()
    {
        if (m_folder)
            smbc_getFunctionClosedir(m_context)(m_context, m_folder);
    }
    Q_DISABLE_COPY_MOVE(Folder)

    bool isThere() const { return m_folder != nullptr; }

    const smbc_dirent* next() { return smbc_getFunctionReaddir(m_context)(m_context, m_folder); }

    const libsmb_file_info* nextWithAttributes()
    {
        return smbc_getFunctionReaddirPlus(m_context)(m_context, m_folder);
    }

private:
    SMBCCTX* m_context;
    SMBCFILE* m_folder;
};

void SmbSession::Free::operator()(SMBCCTX* context) const
{
    smbc_free_context(context, 1);
}

SmbSession::SmbSession(const UserAndPassword& user, quint16 relayPort, SmbTraffic& traffic)
    : m_user(user.user.toUtf8())
    , m_password(user.password.toUtf8())
    , m_traffic(traffic)
    , m_context(newContext())
{
    ++m_traffic.session;
    SMBCCTX* const context = m_context.get();
    if (!context)
        return;
    smbc_setDebug(context, 0);
    smbc_setLogCallback(context, nullptr, [](void*, int, const char*) {});
    smbc_setPort(context, relayPort);
    smbc_setTimeout(context, k_patience);
    smbc_setOptionUserData(context, this);
    smbc_setFunctionAuthDataWithContext(context, SmbLogin::tell);
    smbc_setOptionNoAutoAnonymousLogin(context, 1);
    smbc_setOptionUseKerberos(context, 0);
    smbc_setOptionUseCCache(context, 0);
    smbc_setOptionProtocols(context, "SMB2_02", "SMB3");
    if (!smbc_init_context(context))
        m_context.reset();
}

SmbSession::~SmbSession()
{
    m_password.fill('\0');
}

std::optional<QList<QByteArray>> SmbSession::folders()
{
    m_error = ENOMEM;
    if (!m_context)
        return std::nullopt;
    m_traffic.answered = 0;
    Folder list(m_context.get(), k_server);
    m_error = list.isThere() ? 0 : errno;
    if (!list.isThere())
        return std::nullopt;
    QList<QByteArray> names;
    while (const smbc_dirent* const entry = list.next()) {
        if (entry->smbc_type == SMBC_FILE_SHARE)
            names.append(QByteArray(entry->name));
    }
    return names;
}

bool SmbSession::isRefused() const
{
    return m_error == EACCES || m_error == EPERM;
}

std::optional<NASDeviceNode::EAccess> SmbSession::access(const QString& share, bool mayCreate)
{
    const QByteArray url = urlOf(share);
    m_traffic.answered = 0;
    m_traffic.isTooMuch = false;
    Folder list(m_context.get(), url);
    m_error = list.isThere() ? 0 : errno;
    bool isPlain = false;
    if (list.isThere()) {
        const libsmb_file_info* entry = list.nextWithAttributes();
        while (entry && std::strcmp(entry->name, ".") != 0)
            entry = list.nextWithAttributes();
        isPlain = entry && entry->attrs == k_onlyFolder;
    } else if (!m_traffic.isTooMuch) { // a listing without end is one all the same
        return isRefused() ? std::optional(NASDeviceNode::eNoAccess) : std::nullopt;
    }
    m_traffic.answered = 0;
    const auto isWriter = canWrite(url, isPlain, mayCreate);
    if (!isWriter)
        return std::nullopt;
    return *isWriter ? NASDeviceNode::eFullAccess : NASDeviceNode::eReadOnlyAccess;
}

/** Returns nothing when the server said neither that the user can nor that they may not. */
std::optional<bool> SmbSession::canWrite(const QByteArray& url, bool isPlain, bool mayCreate)
{
    SMBCCTX* const context = m_context.get();
    if (!isPlain)
        return mayCreate ? canCreate(url) : false;
    const int result = smbc_getFunctionChmod(context)(context, url.constData(), k_noAttributes);
    m_error = result == 0 ? 0 : errno;
    return result == 0 || isRefused() ? std::optional(result == 0) : std::nullopt;
}

std::optional<bool> SmbSession::canCreate(const QByteArray& url)
{
    SMBCCTX* const context = m_context.get();
    const QByteArray name =
        url + "nodedb-" + QUuid::createUuid().toByteArray(QUuid::WithoutBraces) + ".tmp";
    SMBCFILE* const file = smbc_getFunctionOpen(context)(
        context, name.constData(), O_CREAT | O_EXCL | O_WRONLY, S_IRUSR | S_IWUSR);
    m_error = file ? 0 : errno;
    if (!file)
        return isRefused() ? std::optional(false) : std::nullopt;
    smbc_getFunctionClose(context)(context, file);
    smbc_getFunctionUnlink(context)(context, name.constData());
    return true;
}

bool SmbSession::isBroken() const
{
    return m_traffic.brokenSession == m_traffic.session;
}

std::optional<StorageSpace> SmbSession::space(const QString& share)
{
    SMBCCTX* const context = m_context.get();
    QByteArray url = urlOf(share);
    struct statvfs said = {};
    m_traffic.answered = 0;
    const int result = smbc_getFunctionStatVFS(context)(context, url.data(), &said);
    m_error = result == 0 ? 0 : errno;
    // Without the extensions for Unix these are the bytes of a sector, and the sectors of a block.
    const bool isInSectors = (said.f_flag & SMBC_VFS_FEATURE_NO_UNIXCIFS) != 0;
    const quint64 block = isInSectors ? quint64(said.f_bsize) * said.f_frsize : said.f_frsize;
    if (result != 0 || block == 0 || said.f_blocks == 0 || said.f_bfree > said.f_blocks)
        return std::nullopt;
    return StorageSpace{ block * said.f_blocks, block * said.f_bfree, said.f_fsid };
}

} // namespace tq
