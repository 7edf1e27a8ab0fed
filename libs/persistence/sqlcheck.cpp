// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/sqlcheck_p.h"

#include "persistence/sqllayout_p.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <QtEndian>

namespace tq {

namespace {

class Check
{
public:
    Check(const QSqlDatabase& database, const QString& path) : m_query(database), m_path(path)
    {
        m_query.setForwardOnly(true);
    }

    QString whyForeign();
    QString whyDamaged();

private:
    /** Makes a statement, and returns whether it found something. */
    bool finds(const QString& statement) { return m_query.exec(statement) && m_query.next(); }
    QString value() const { return m_query.value(0).toString(); }
    QString because(const QString& reason) const;

    QString damaged(const QString& finding) const
    {
        return because(QStringLiteral("The store %1 is damaged: %2").arg(m_path, finding));
    }

    QSqlQuery m_query;
    QString m_path;
};

/** A file that another process is just writing is no damaged one. */
QString Check::because(const QString& reason) const
{
    const bool isBusy = m_query.lastError().nativeErrorCode() == QStringLiteral("5");
    return isBusy ? QStringLiteral("The store %1 is in use by another process.").arg(m_path)
                  : reason;
}

QString Check::whyForeign()
{
    // Names and paths stand in indexes, too: the full check compares them.
    if (!finds(QStringLiteral("PRAGMA integrity_check(1)")))
        return damaged(m_query.lastError().text());
    if (value() != QStringLiteral("ok"))
        return damaged(value());
    const QString foreign =
        QStringLiteral("%1 is an SQLite file, but not a store of this program.").arg(m_path);
    const QString active =
        QStringLiteral("SELECT count(*) FROM sqlite_master WHERE type IN ('trigger', 'view')");
    if (!finds(active) || m_query.value(0).toInt() != 0)
        return because(foreign);
    if (!finds(QStringLiteral("SELECT format FROM store")))
        return because(foreign);
    if (m_query.value(0).toLongLong() != SqlLayout::k_format)
        return QStringLiteral("The store %1 has format %2, which this program does not know.")
            .arg(m_path, value());
    return QString();
}

QString Check::whyDamaged()
{
    const struct
    {
        const char* search; ///< finds the first number that no store has given
        const char* finding;
    } checks[] = {
        { "SELECT id FROM names WHERE id NOT BETWEEN 1 AND %1 OR typeof(name) <> 'text'",
            "no name has the number %1" },
        { "SELECT max(id) FROM names GROUP BY name HAVING count(*) > 1",
            "the name with the number %1 is there twice" },
        { "SELECT id FROM containers WHERE id NOT BETWEEN 1 AND %1 OR typeof(path) <> 'text'",
            "no group or array has the number %1" },
        { "SELECT id FROM rows WHERE (id & 4294967295) > %1 + 1 OR typeof(data) <> 'blob'"
          " OR NOT EXISTS (SELECT 1 FROM containers WHERE containers.id = rows.id >> 32)",
            "the row %1 fits no group and no array" },
    };
    for (const auto& [search, finding] : checks) {
        const QString statement = QString::fromLatin1(search);
        const bool isFound =
            finds(statement.contains(QStringLiteral("%1")) ? statement.arg(SqlLayout::k_highest)
                                                           : statement);
        if (isFound)
            return damaged(QString::fromLatin1(finding).arg(value()));
        if (m_query.lastError().isValid())
            return damaged(m_query.lastError().text());
    }
    return QString();
}

} // namespace

bool isWholeSqlite(const QByteArray& head, qint64 size)
{
    if (head.size() < 18 || !head.startsWith(QByteArrayLiteral("SQLite format 3\0")))
        return false;
    const int stored = qFromBigEndian<quint16>(head.constData() + 16);
    const int pageSize = stored == 1 ? 65536 : stored;
    return pageSize >= 512 && size % pageSize == 0;
}

QString whyNotSound(const QSqlDatabase& database, const QString& path)
{
    Check check(database, path);
    const QString foreign = check.whyForeign();
    return foreign.isEmpty() ? check.whyDamaged() : foreign;
}

} // namespace tq
