/* The output library as the plug-in calls it; a host provides these symbols and decides whether the calls produce
 * text or a document. C11 and C++20. */
#ifndef KVEL_OUTPUT_H
#define KVEL_OUTPUT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Opens the element `tag`. */
void xprint_header(const char* tag);

/* Closes the element `tag`. */
void xprint_footer(const char* tag);

/* One piece of output. A format with values in angle brackets ("<%s>") takes the line's tag, or the tag list that
 * xmltag made, as its first argument, then the values; any other format takes printf values only. Two lines without a
 * value come with a tag all the same: those of VIP Route Advertise and VIP ICMP Reply. */
void xprint(const char* format, ...);

/* Builds the tag list of a line with `count` values from `count` tag names (const char*) in `buffer`, which holds at
 * least 64 bytes for each name, and returns it. */
char* xmltag(char* buffer, int32_t count, ...);

#ifdef __cplusplus
}
#endif

#endif
