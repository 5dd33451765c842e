/* The well-known HTTP header names, in the order of their keywords in every command family. C11 and C++20. */
#ifndef KVEL_HTTP_HEADERS_H
#define KVEL_HTTP_HEADERS_H

/* X(name). */
#define KVEL_HTTP_HEADERS(X) \
  X("Via")                   \
  X("User-Agent")            \
  X("Transfer-Encoding")     \
  X("Referer")               \
  X("Pragma")                \
  X("If-Match")              \
  X("Host")                  \
  X("From")                  \
  X("Expect")                \
  X("Content-MD5")           \
  X("Connection")            \
  X("Cache-Control")         \
  X("Authorization")         \
  X("Accept-Language")       \
  X("Accept-Encoding")       \
  X("Accept-Charset")        \
  X("Accept")

enum {
#define KVEL_HTTP_HEADER_COUNTED(name) +1
  KVEL_HTTP_HEADER_COUNT = 0 KVEL_HTTP_HEADERS(KVEL_HTTP_HEADER_COUNTED)
#undef KVEL_HTTP_HEADER_COUNTED
};

#endif
