/* The two checks that the shell offers to handlers; a host provides these symbols. C11 and C++20. */
#ifndef KVEL_HOST_H
#define KVEL_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Object kinds, as `domain`. */
enum {
  KVEL_DOMAIN_POLICY_MAP = 4,
  KVEL_DOMAIN_CLASS_MAP = 5,
  KVEL_DOMAIN_SSL_PROXY = 6,
  KVEL_DOMAIN_PARAMETER_MAP = 7
};

/* Nonzero: the named object may be configured in the session's rule domain. Zero refuses the command silently. */
int32_t vsh_platform_specific_rule_domain_check_valid(int32_t domain, const char* name, uint32_t negated);

/* Zero lets a NAT action pass; nonzero refuses it. */
int32_t vsh_platform_matched_rule_modify_check(uint32_t negated);

#ifdef __cplusplus
}
#endif

#endif
