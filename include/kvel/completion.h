/* The list of object names that a completion hook returns. C11 and C++20. */
#ifndef KVEL_COMPLETION_H
#define KVEL_COMPLETION_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CompletionEntry {
  char* name;
  char* help; /* always an empty string of its own */
} CompletionEntry;

/* Every string, every pair, the array and the list itself are one malloc block each; the shell frees them all. */
typedef struct CompletionList {
  uint32_t count;
  uint32_t reserved; /* always 0 */
  CompletionEntry** entries;
} CompletionList;

#ifdef __cplusplus
}
#endif

#endif
