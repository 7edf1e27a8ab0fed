// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/sqltables_p.h"

#include "persistence/privatefile_p.h"
#include "platform/logline.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <QtEndian>

#include <algorithm>
#include <atomic>
#include <limits>

namespace tq {

namespace {

constexpr int k_format = 1;
constexpr int k_maxLoggedFindings = 20;
constexpr qint64 k_rowsPerContainer = qint64(1) << 32;
constexpr qint64 k_maxContainer = std::numeric_limits<qint32>::max();

qint64 rowId(qint64 container, int index)
{
    return container * k_rowsPerContainer + index + 1;
}

int rowIndex(qint64 row)
{
    return int(row % k_rowsPerContainer - 1);
}

/** Returns whether a file begins as an SQLite one and consists of whole pages. */
bool isWholeSqlite(const QByteArray& head, qint64 size)
{
    if (head.size() < 18 || !head.startsWith(QByteArrayLiteral("SQLite format 3\0")))
        return false;
    const int stored = qFromBigEndian<quint16>(head.constData() + 16);
    const int pageSize = stored == 1 ? 65536 : stored;
    return pageSize >= 512 && size % pageSize == 0;
}

/** A null text would be bound as no text at all. */
QString bindable(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

} // namespace

SqlTables::SqlTables(const QString& path, OpenMode mode) : m_path(path), m_mode(mode)
{
    static std::atomic<int> counter = 0;
    m_connection = QStringLiteral("nodedb-store-%1").arg(++counter);
}

SqlTables::~SqlTables()
{
    rollBack();
    disconnect();
}

bool SqlTables::connect(const QString& file)
{
    m_database = std::make_unique<QSqlDatabase>(
        QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection));
    m_database->setDatabaseName(file);
    // Another process that writes is waited for this long (ms).
    m_database->setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    if (!m_database->open()) {
        fail(described(m_database->lastError()));
        return false;
    }
    // Deleted passwords must not linger in the file. A reader opens for writing all the same, so
    // that it can finish what a killed writer has left; this keeps it from anything else.
    return run(QStringLiteral("PRAGMA secure_delete = ON"))
        && run(QStringLiteral("PRAGMA trusted_schema = OFF"))
        && (m_mode == OpenMode::ReadWrite || run(QStringLiteral("PRAGMA query_only = ON")));
}

void SqlTables::disconnect()
{
    stopScan();
    m_insert.reset();
    if (!m_database)
        return;
    m_database->close();
    m_database.reset();
    QSqlDatabase::removeDatabase(m_connection);
}

QString SqlTables::openExisting()
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("The store %1 cannot be read: %2").arg(m_path, file.errorString());
    const QByteArray head = file.read(18);
    const qint64 size = file.size();
    file.close();
    if (!isWholeSqlite(head, size))
        return QStringLiteral("%1 is not an SQLite store, or it is damaged.").arg(m_path);
    if (!connect(m_path))
        return m_error;
    const QString error = whyNotOurs();
    if (!error.isEmpty())
        disconnect();
    return error;
}

QString SqlTables::whyNotOurs()
{
    QSqlQuery query(*m_database);
    query.setForwardOnly(true);
    const auto reads = [&query](const QString& statement) {
        return query.exec(statement) && query.next();
    };
    // A file that another process is just writing is no damaged one.
    const auto because = [&query, this](const QString& reason) {
        const bool isBusy = query.lastError().nativeErrorCode() == QStringLiteral("5");
        return isBusy ? QStringLiteral("The store %1 is in use by another process.").arg(m_path)
                      : reason;
    };
    const auto damaged = [this](const QString& finding) {
        return QStringLiteral("The store %1 is damaged: %2").arg(m_path, finding);
    };
    if (!reads(QStringLiteral("PRAGMA quick_check(1)")))
        return because(damaged(query.lastError().text()));
    if (query.value(0).toString() != QStringLiteral("ok"))
        return damaged(query.value(0).toString());
    const QString foreign =
        QStringLiteral("%1 is an SQLite file, but not a store of this program.").arg(m_path);
    const QString active =
        QStringLiteral("SELECT count(*) FROM sqlite_master WHERE type IN ('trigger', 'view')");
    if (!reads(active) || query.value(0).toInt() != 0)
        return because(foreign);
    if (!reads(QStringLiteral("SELECT format FROM store")))
        return because(foreign);
    if (query.value(0).toInt() != k_format)
        return QStringLiteral("The store %1 has format %2, which this program does not know.")
            .arg(m_path, query.value(0).toString());
    return QString();
}

bool SqlTables::create()
{
    bool exists = false;
    QString error = whyNoStoreAt(m_path, OpenMode::ReadWrite, exists);
    if (error.isEmpty() && exists)
        error = QStringLiteral("The store %1 was made by somebody else meanwhile.").arg(m_path);
    if (error.isEmpty())
        m_folder = std::make_unique<PrivateFolder>(m_path, error);
    if (!error.isEmpty()) {
        fail(error);
        return false;
    }
    return connect(m_folder->file()) && run(QStringLiteral("BEGIN"))
        && run(QStringLiteral("CREATE TABLE store (format INTEGER NOT NULL)"))
        && run(QStringLiteral("INSERT INTO store (format) VALUES (%1)").arg(k_format))
        && run(QStringLiteral("CREATE TABLE names (id INTEGER PRIMARY KEY, name TEXT NOT NULL)"))
        && run(QStringLiteral(
            "CREATE TABLE containers (id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE)"))
        && run(QStringLiteral("CREATE TABLE rows (id INTEGER PRIMARY KEY, data BLOB NOT NULL)"));
}

bool SqlTables::read()
{
    if (m_state != EState::Idle || !m_database)
        return m_state == EState::Reading || m_state == EState::Writing;
    m_state = EState::Reading;
    if (run(QStringLiteral("BEGIN")) && readNames())
        return true;
    rollBack();
    m_state = EState::ReadFailed;
    return false;
}

bool SqlTables::write()
{
    if (m_state == EState::Writing || m_state == EState::WriteFailed)
        return m_state == EState::Writing;
    endReading();
    bool begun = false;
    if (m_database) {
        QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner);
        begun = run(QStringLiteral("BEGIN IMMEDIATE"));
    } else {
        begun = create();
    }
    m_state = EState::Writing;
    if (begun && readNames())
        return true;
    rollBack();
    m_state = EState::WriteFailed;
    return false;
}

bool SqlTables::commit()
{
    stopScan();
    m_insert.reset();
    if (m_state != EState::Writing) {
        const bool hasFailed = m_state == EState::WriteFailed;
        endReading();
        rollBack();
        return !hasFailed;
    }
    if (!run(QStringLiteral("COMMIT"))) {
        rollBack();
        return false;
    }
    m_state = EState::Idle;
    if (!m_folder)
        return true;
    disconnect();
    const QString error = moveIntoPlace(m_folder->file(), m_path);
    m_folder.reset();
    if (!error.isEmpty())
        fail(error);
    return error.isEmpty() && connect(m_path);
}

void SqlTables::endReading()
{
    if (m_state != EState::Reading && m_state != EState::ReadFailed)
        return;
    stopScan();
    if (m_state == EState::Reading)
        run(QStringLiteral("COMMIT"));
    m_state = EState::Idle;
}

void SqlTables::rollBack()
{
    stopScan();
    m_insert.reset();
    if (m_database && m_state != EState::Idle)
        QSqlQuery(*m_database).exec(QStringLiteral("ROLLBACK"));
    m_state = EState::Idle;
    if (m_folder) {
        disconnect();
        m_folder.reset();
    }
}

bool SqlTables::readNames()
{
    m_nameIds.clear();
    m_names.clear();
    m_containers.clear();
    m_lastName = 0;
    m_lastContainer = 0;
    QSqlQuery query(*m_database);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT id, name FROM names"))) {
        fail(described(query.lastError()));
        return false;
    }
    while (query.next()) {
        const qint64 id = query.value(0).toLongLong();
        if (id <= 0 || id > k_maxContainer)
            continue;
        m_names.insert(quint32(id), query.value(1).toString());
        m_nameIds.insert(query.value(1).toString(), quint32(id));
        m_lastName = std::max(m_lastName, quint32(id));
    }
    bool isRead = query.exec(QStringLiteral("SELECT id, path FROM containers"));
    while (isRead && query.next()) {
        const qint64 id = query.value(0).toLongLong();
        if (id <= 0 || id > k_maxContainer)
            continue;
        m_containers.insert(query.value(1).toString(), { id, k_unknown });
        m_lastContainer = std::max(m_lastContainer, id);
    }
    if (query.lastError().isValid()) {
        fail(described(query.lastError()));
        isRead = false;
    }
    return isRead;
}

quint32 SqlTables::makeNameId(const QString& name)
{
    quint32& id = m_nameIds[name];
    if (id == 0) {
        id = ++m_lastName;
        m_names.insert(id, name);
        const auto query = prepared(QStringLiteral("INSERT INTO names (id, name) VALUES (?, ?)"));
        query->addBindValue(id);
        query->addBindValue(bindable(name));
        run(*query);
    }
    return id;
}

SqlTables::Container* SqlTables::container(const QString& path)
{
    const auto it = m_containers.find(path);
    return it == m_containers.end() ? nullptr : &*it;
}

SqlTables::Container* SqlTables::makeContainer(const QString& path)
{
    if (Container* known = container(path))
        return known;
    const qint64 id = ++m_lastContainer;
    const auto query = prepared(QStringLiteral("INSERT INTO containers (id, path) VALUES (?, ?)"));
    query->addBindValue(id);
    query->addBindValue(bindable(path));
    run(*query);
    return &*m_containers.insert(path, { id, k_noRows });
}

int SqlTables::highestIndex(Container& container)
{
    if (container.highest != k_unknown)
        return container.highest;
    const auto query =
        prepared(QStringLiteral("SELECT max(id) FROM rows WHERE id BETWEEN ? AND ?"));
    query->addBindValue(rowId(container.id, k_ownRow));
    query->addBindValue(rowId(container.id, std::numeric_limits<int>::max()));
    if (!run(*query) || !query->next() || query->value(0).isNull())
        return container.highest = k_noRows;
    return container.highest = rowIndex(query->value(0).toLongLong());
}

bool SqlTables::fetch(Container& container, int index, QByteArray& data)
{
    if (index > highestIndex(container))
        return false;
    int found = index;
    return fetchNext(container, found, data) && found == index;
}

bool SqlTables::fetchNext(const Container& container, int& index, QByteArray& data)
{
    const qint64 wanted = rowId(container.id, index);
    const qint64 end = rowId(container.id + 1, k_ownRow);
    if (!m_scan || m_scanEnd != end || m_scanned > wanted) {
        stopScan();
        m_scan = prepared(
            QStringLiteral("SELECT id, data FROM rows WHERE id >= ? AND id < ? ORDER BY id"));
        m_scan->addBindValue(wanted);
        m_scan->addBindValue(end);
        m_scanEnd = end;
        m_scanned = -1;
        run(*m_scan);
    }
    while (m_scanned < wanted) {
        if (!m_scan->next()) {
            if (m_scan->lastError().isValid())
                noteDamage(m_scan->lastError().text());
            stopScan();
            return false;
        }
        m_scanned = m_scan->value(0).toLongLong();
    }
    index = rowIndex(m_scanned);
    data = m_scan->value(1).toByteArray();
    return true;
}

void SqlTables::store(Container& container, int index, const std::string& data)
{
    stopScan();
    if (!m_insert)
        m_insert = prepared(QStringLiteral("INSERT INTO rows (id, data) VALUES (?, ?) "
                                           "ON CONFLICT (id) DO UPDATE SET data = excluded.data"));
    m_insert->bindValue(0, rowId(container.id, index));
    m_insert->bindValue(1, QByteArray::fromRawData(data.data(), qsizetype(data.size())));
    if (run(*m_insert))
        container.highest = std::max(container.highest, index);
}

void SqlTables::erase(const QString& path)
{
    stopScan();
    const QString inside = path + QLatin1Char('/');
    for (auto it = m_containers.lowerBound(path); it != m_containers.end();) {
        if (it.key() != path && !it.key().startsWith(inside)) {
            // Other names may sort between a path and what is inside it.
            if (!it.key().startsWith(path))
                break;
            ++it;
            continue;
        }
        const qint64 id = it->id;
        run(QStringLiteral("DELETE FROM rows WHERE id >= %1 AND id < %2")
                .arg(rowId(id, k_ownRow))
                .arg(rowId(id + 1, k_ownRow)));
        run(QStringLiteral("DELETE FROM containers WHERE id = %1").arg(id));
        it = m_containers.erase(it);
    }
}

void SqlTables::eraseRow(Container& container, int index)
{
    stopScan();
    container.highest = k_unknown;
    run(QStringLiteral("DELETE FROM rows WHERE id = %1").arg(rowId(container.id, index)));
}

std::unique_ptr<QSqlQuery> SqlTables::prepared(const QString& statement)
{
    auto query = std::make_unique<QSqlQuery>(*m_database);
    query->setForwardOnly(true);
    query->prepare(statement); // an error is reported when the query runs
    return query;
}

bool SqlTables::run(const QString& statement)
{
    return run(*prepared(statement));
}

bool SqlTables::run(QSqlQuery& query)
{
    if (m_state == EState::WriteFailed)
        return false;
    if (query.exec())
        return true;
    fail(described(query.lastError()));
    if (m_state == EState::Writing)
        m_state = EState::WriteFailed;
    return false;
}

void SqlTables::stopScan()
{
    m_scan.reset();
}

void SqlTables::fail(const QString& message)
{
    logLine(Log::eSurvived, "Store: ", message);
    m_error = message;
}

void SqlTables::noteDamage(const QString& message)
{
    const QString text = QStringLiteral("The store %1 is damaged: %2").arg(m_path, message);
    m_isDamaged = true;
    if (++m_findings <= k_maxLoggedFindings)
        logLine(Log::eSurvived, "Store: ", text);
}

QString SqlTables::described(const QSqlError& error) const
{
    return QStringLiteral("The store %1 failed: %2").arg(m_path, error.text());
}

} // namespace tq
