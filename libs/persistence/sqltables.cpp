// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/sqltables_p.h"

#include "persistence/privatefile_p.h"
#include "persistence/sqlcheck_p.h"
#include "persistence/sqllayout_p.h"
#include "platform/logline.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>
#include <atomic>

namespace tq {

namespace {

constexpr int k_maxLoggedFindings = 20;

/** Returns the number after `last`, or the first free one when there is none after it: only a store
 * with more numbers than fit into memory has none. */
template <class IsTaken>
qint64 freeNumber(qint64& last, IsTaken isTaken)
{
    if (last < SqlLayout::k_highest)
        return ++last;
    qint64 number = 1;
    while (isTaken(number))
        ++number;
    return number;
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
    // Deleted passwords must not linger in the file. A power failure must not bring the journal of
    // a finished save back. A reader opens for writing all the same, so that it can finish what a
    // killed writer has left; the last line keeps it from anything else.
    return run(QStringLiteral("PRAGMA secure_delete = ON"))
        && run(QStringLiteral("PRAGMA synchronous = EXTRA"))
        && run(QStringLiteral("PRAGMA trusted_schema = OFF"))
        && (m_mode != OpenMode::ReadOnly || run(QStringLiteral("PRAGMA query_only = ON")));
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
    if (file.error() != QFile::NoError)
        return QStringLiteral("The store %1 cannot be read: %2").arg(m_path, file.errorString());
    const qint64 size = file.size();
    file.close();
    if (!isWholeSqlite(head, size))
        return QStringLiteral("%1 is not an SQLite store, or it is damaged.").arg(m_path);
    if (!connect(m_path))
        return m_error;
    const QString error = whyNotSound(*m_database, m_path);
    if (!error.isEmpty())
        disconnect();
    return error;
}

bool SqlTables::create()
{
    bool exists = false;
    QString error = whyNoStoreAt(m_path, OpenMode::Create, exists);
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
        && run(QStringLiteral("INSERT INTO store (format) VALUES (%1)").arg(SqlLayout::k_format))
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
    // One damaged name would change every row. What stands in an index, too, is compared.
    const QString index = QStringLiteral("CREATE UNIQUE INDEX IF NOT EXISTS texts ON names (name)");
    if (begun && run(index) && readNames())
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
    return moveNewStore();
}

bool SqlTables::moveNewStore()
{
    disconnect();
    QString error = moveIntoPlace(m_folder->file(), m_path);
    m_folder.reset();
    bool isReady = false;
    if (error.isEmpty()) {
        isReady = connect(m_path);
        error = syncFolderOf(m_path);
    }
    if (!error.isEmpty())
        fail(error);
    return isReady && error.isEmpty();
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
        if (!isNumber(id, "name"))
            continue;
        m_names.insert(quint32(id), query.value(1).toString());
        m_nameIds.insert(query.value(1).toString(), quint32(id));
        m_lastName = std::max(m_lastName, id);
    }
    bool isRead = query.exec(QStringLiteral("SELECT id, path FROM containers"));
    while (isRead && query.next()) {
        const qint64 id = query.value(0).toLongLong();
        if (!isNumber(id, "container"))
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

bool SqlTables::isNumber(qint64 id, const char* what)
{
    if (SqlLayout::isNumber(id))
        return true;
    noteDamage(QStringLiteral("the number %1 of a %2").arg(id).arg(QLatin1String(what)));
    return false;
}

quint32 SqlTables::makeNameId(const QString& name)
{
    quint32& id = m_nameIds[name];
    if (id == 0) {
        id = quint32(freeNumber(
            m_lastName, [this](qint64 number) { return m_names.contains(quint32(number)); }));
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
    const qint64 id = freeNumber(m_lastContainer, [this](qint64 number) {
        return std::any_of(m_containers.cbegin(), m_containers.cend(),
            [number](const Container& container) { return container.id == number; });
    });
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
    query->addBindValue(SqlLayout::firstRow(container.id));
    query->addBindValue(SqlLayout::lastRow(container.id));
    if (!run(*query) || !query->next() || query->value(0).isNull())
        return container.highest = k_noRows;
    return container.highest = SqlLayout::rowIndex(query->value(0).toLongLong());
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
    const qint64 wanted = SqlLayout::rowId(container.id, index);
    const qint64 last = SqlLayout::lastRow(container.id);
    if (!m_scan || m_scanLast != last || m_scanned > wanted) {
        stopScan();
        m_scan = prepared(
            QStringLiteral("SELECT id, data FROM rows WHERE id BETWEEN ? AND ? ORDER BY id"));
        m_scan->addBindValue(wanted);
        m_scan->addBindValue(last);
        m_scanLast = last;
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
    index = SqlLayout::rowIndex(m_scanned);
    data = m_scan->value(1).toByteArray();
    return true;
}

void SqlTables::store(Container& container, int index, const std::string& data)
{
    stopScan();
    if (!m_insert)
        m_insert = prepared(QStringLiteral("INSERT INTO rows (id, data) VALUES (?, ?) "
                                           "ON CONFLICT (id) DO UPDATE SET data = excluded.data"));
    m_insert->bindValue(0, SqlLayout::rowId(container.id, index));
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
        run(QStringLiteral("DELETE FROM rows WHERE id BETWEEN %1 AND %2")
                .arg(SqlLayout::firstRow(id))
                .arg(SqlLayout::lastRow(id)));
        run(QStringLiteral("DELETE FROM containers WHERE id = %1").arg(id));
        it = m_containers.erase(it);
    }
}

void SqlTables::eraseRow(Container& container, int index)
{
    stopScan();
    container.highest = k_unknown;
    run(QStringLiteral("DELETE FROM rows WHERE id = %1")
            .arg(SqlLayout::rowId(container.id, index)));
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
