/* The parsed command record: what a shell hands to every handler and completion hook of libkvelcli.
 * The layouts are fixed; other shells are compiled against them. C11 and C++20. */
#ifndef KVEL_COMMAND_H
#define KVEL_COMMAND_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One matched word or parameter. The shell owns it and its text; the plug-in keeps no pointer after it returns. */
typedef struct CliToken {
  uint32_t keyword_id;  /* see kvel/keywords.h */
  uint32_t reserved[3]; /* the shell's own; never read by the plug-in */
  const void* text;     /* NUL-terminated string, or pointer to a uint32_t for a numeric token; null reads as "" or 0 */
} CliToken;

#define KVEL_MAX_TOKENS 255

/* The forms of kvelpolicymap_confignat, which distinguishes them by command id. Of other handlers it is not read. */
enum { KVEL_COMMAND_STATIC_NAT = 362, KVEL_COMMAND_DYNAMIC_NAT = 364 };

/* One parsed command line. IPv4 addresses and masks are numbers with the first octet most significant. */
typedef struct CliCommand {
  uint8_t token_count;
  uint32_t negated;                        /* nonzero: the "no" form */
  uint32_t skip_execution;                 /* nonzero: the shell only enters the command's mode */
  uint32_t command_id;                     /* the grammar form that matched */
  const CliToken* tokens[KVEL_MAX_TOKENS]; /* token 1 is tokens[0]; only token_count of them are valid */
  int16_t context_id;                      /* travels as its low 16 bits */
  uint32_t session_id;
} CliCommand;

#ifdef __cplusplus
}
#endif

#endif
