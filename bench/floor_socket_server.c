/* The floor of a durable replay over a socket: a plain server and a plain client that exchange messages of the size of
 * a call, the server with one SQLite commit a message.
 *   floor_socket_server FILE MESSAGES */
#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

enum { kRequest = 72, kReply = 16 };

static void check(int code, int expected, sqlite3* database) {
  if (code == expected) return;
  fprintf(stderr, "floor_socket_server: %s\n", sqlite3_errmsg(database));
  exit(1);
}

static int receive(int descriptor, char* bytes, size_t count) {
  for (size_t have = 0; have < count;) {
    const ssize_t got = read(descriptor, bytes + have, count - have);
    if (got <= 0) return 0;
    have += (size_t)got;
  }
  return 1;
}

static int serve(int descriptor, const char* file) {
  sqlite3* database = NULL;
  check(sqlite3_open(file, &database), SQLITE_OK, database);
  check(sqlite3_exec(database,
                     "PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;"
                     "CREATE TABLE IF NOT EXISTS object(name TEXT PRIMARY KEY, body TEXT) WITHOUT ROWID",
                     NULL, NULL, NULL),
        SQLITE_OK, database);
  sqlite3_stmt* insert = NULL;
  check(sqlite3_prepare_v2(database, "INSERT INTO object VALUES(?1, ?2)", -1, &insert, NULL), SQLITE_OK, database);
  char request[kRequest];
  char reply[kReply] = {0};
  while (receive(descriptor, request, sizeof request)) {
    sqlite3_bind_text(insert, 1, request, -1, SQLITE_STATIC);
    sqlite3_bind_text(insert, 2, "{\"type\":0,\"match_all\":false}", -1, SQLITE_STATIC);
    check(sqlite3_step(insert), SQLITE_DONE, database);
    sqlite3_reset(insert);
    if (write(descriptor, reply, sizeof reply) != sizeof reply) return 1;
  }
  sqlite3_finalize(insert);
  sqlite3_close(database);
  return 0;
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) return 1;
  const pid_t server = fork();
  if (server == 0) {
    close(pair[0]);
    _exit(serve(pair[1], argv[1]));
  }
  close(pair[1]);
  const int messages = atoi(argv[2]);
  for (int message = 0; message < messages; ++message) {
    char request[kRequest] = {0};
    char reply[kReply];
    snprintf(request, sizeof request, "class-map-%06d", message);
    if (write(pair[0], request, sizeof request) != sizeof request || !receive(pair[0], reply, sizeof reply)) return 1;
  }
  close(pair[0]);
  int status = 0;
  waitpid(server, &status, 0);
  return status == 0 ? 0 : 1;
}
