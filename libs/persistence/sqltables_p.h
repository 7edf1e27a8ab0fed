// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istore.h"
#include "persistence/sqllayout_p.h"

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QString>

#include <memory>
#include <string>

class QSqlDatabase;
class QSqlError;
class QSqlQuery;

namespace tq {

class PrivateFolder;

/**
 * The tables of an SQL store, its connection and its transactions.
 *
 * A container is a group or an outermost array, named by its path. Its rows carry an index: -1 for
 * the values of a group, 0 and up for the entries of an array.
 *
 *     store      (format)      the version of this layout, 1
 *     names      (id, name)    the names inside rows
 *     containers (id, path)    a slash before each name; slashes in names as %2F, % as %25
 *     rows       (id, data)    id = container * 2^32 + index + 1; data as PackedTree packs it
 *
 * A file with numbers that SqlLayout does not know is not opened. Those of names and containers go
 * on from the highest; when that is reached, the free ones are used again.
 *
 * Reading takes place in one transaction, writing in another, so that each sees one state of the
 * store. A failure is logged, kept as the error, and makes everything do nothing until the
 * transaction is ended: otherwise what follows a failed statement could become durable alone.
 */
class SqlTables
{
public:
    struct Container
    {
        qint64 id = 0;
        int highest = k_unknown; ///< the highest index of its rows
    };
    static constexpr int k_unknown = -3;
    static constexpr int k_noRows = -2;
    static constexpr int k_ownRow = SqlLayout::k_ownRow;

    SqlTables(const QString& path, OpenMode mode);
    ~SqlTables();

    /** Opens the file and checks that it is a store. Returns the error; an empty text if all is
     * well. */
    QString openExisting();

    /** Begins to read, unless that has begun. Returns whether there is anything to read. */
    bool read();

    /** Begins to write, unless that has begun; makes the file when there is none. */
    bool write();

    /** Makes durable what was written, and ends both transactions. */
    bool commit();
    void endReading();

    /** Returns the number of a name; 0 when it has none. */
    quint32 nameId(const QString& name) const { return m_nameIds.value(name); }
    quint32 makeNameId(const QString& name);
    bool hasName(quint32 id) const { return m_names.contains(id); }
    QString nameOf(quint32 id) const { return m_names.value(id); }

    /** Returns the containers by path. */
    const QMap<QString, Container>& containers() const { return m_containers; }

    /** Returns the container of that path; null when there is none. It holds until the next one is
     * made or erased. */
    Container* container(const QString& path);
    Container* makeContainer(const QString& path);

    /** Returns the highest index of a container's rows. */
    int highestIndex(Container& container);

    /** Reads a row; rows in ascending order are read in one go. Returns false when it is absent. */
    bool fetch(Container& container, int index, QByteArray& data);

    /** Finds the first row from `index` on, which is updated. Returns false when there is none. */
    bool fetchNext(const Container& container, int& index, QByteArray& data);

    void store(Container& container, int index, const std::string& data);
    void erase(const QString& path);
    void eraseRow(Container& container, int index);

    QString path() const { return m_path; }
    QString error() const { return m_error; }
    void clearError() { m_error.clear(); }
    bool isDamaged() const { return m_isDamaged; }
    bool isWriting() const { return m_state == EState::Writing; }

    /** Keeps and logs an error. */
    void fail(const QString& message);

    /** Notes and logs that a row cannot be read. */
    void noteDamage(const QString& message);

private:
    enum class EState { Idle, Reading, ReadFailed, Writing, WriteFailed };

    bool connect(const QString& file);
    void disconnect();
    bool create();
    bool moveNewStore();
    bool readNames();
    bool isNumber(qint64 id, const char* what);
    bool run(const QString& statement);
    bool run(QSqlQuery& query);
    std::unique_ptr<QSqlQuery> prepared(const QString& statement);
    void stopScan();
    void rollBack();
    QString described(const QSqlError& error) const;

    QString m_path;
    OpenMode m_mode;
    std::unique_ptr<PrivateFolder> m_folder; ///< holds a new store until its first commit
    QString m_connection;
    std::unique_ptr<QSqlDatabase> m_database;
    EState m_state = EState::Idle;
    QHash<QString, quint32> m_nameIds;
    QHash<quint32, QString> m_names;
    qint64 m_lastName = 0;
    QMap<QString, Container> m_containers;
    qint64 m_lastContainer = 0;
    std::unique_ptr<QSqlQuery> m_scan; ///< the rows of a container, read in order
    qint64 m_scanned = 0; ///< the row that m_scan stands on
    qint64 m_scanLast = 0; ///< the last row that its container can have
    std::unique_ptr<QSqlQuery> m_insert;
    QString m_error;
    bool m_isDamaged = false;
    int m_findings = 0;
};

} // namespace tq
