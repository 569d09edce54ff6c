// SQLite files for the ODBC window tests: made directly through SQLite, so
// that only the reading goes through the driver under test.
#pragma once

#include <sqlite3.h>
#include <QProcess>
#include <QtTest>

namespace rq::testing {

inline bool sqliteDriverInstalled() {
    QProcess p;
    p.start(QStringLiteral("odbcinst"), {QStringLiteral("-q"), QStringLiteral("-d")});
    return p.waitForFinished(10000) &&
           QString::fromUtf8(p.readAllStandardOutput()).split('\n').contains("[SQLite3]");
}

inline void runSqlite(const QString& file, const char* sql) {
    sqlite3* db = nullptr;
    QCOMPARE(sqlite3_open(file.toUtf8().constData(), &db), SQLITE_OK);
    char* message = nullptr;
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
    const QString error = message ? QString::fromUtf8(message) : QString();
    sqlite3_free(message);
    sqlite3_close(db);
    QVERIFY2(rc == SQLITE_OK, qPrintable(error));
}

}  // namespace rq::testing
