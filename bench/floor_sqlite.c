/* The floor of a durable replay: SQLite with a write-ahead log and full syncing, one row a commit, nothing else.
 *   floor_sqlite FILE ROWS */
#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>

static void check(int code, int expected, sqlite3* database) {
  if (code == expected) return;
  fprintf(stderr, "floor_sqlite: %s\n", sqlite3_errmsg(database));
  exit(1);
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const int rows = atoi(argv[2]);
  sqlite3* database = NULL;
  check(sqlite3_open(argv[1], &database), SQLITE_OK, database);
  check(sqlite3_exec(database,
                     "PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;"
                     "CREATE TABLE IF NOT EXISTS object(name TEXT PRIMARY KEY, body TEXT) WITHOUT ROWID",
                     NULL, NULL, NULL),
        SQLITE_OK, database);
  sqlite3_stmt* insert = NULL;
  check(sqlite3_prepare_v2(database, "INSERT INTO object VALUES(?1, ?2)", -1, &insert, NULL), SQLITE_OK, database);
  for (int row = 0; row < rows; ++row) {
    char name[65];
    snprintf(name, sizeof name, "class-map-%06d", row);
    sqlite3_bind_text(insert, 1, name, -1, SQLITE_STATIC);
    sqlite3_bind_text(insert, 2, "{\"type\":0,\"match_all\":false}", -1, SQLITE_STATIC);
    check(sqlite3_step(insert), SQLITE_DONE, database);
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  sqlite3_close(database);
  return 0;
}
