/* Keyword identifiers: the number that the shell's grammar gives to each word and parameter slot of a command line and
 * that the handlers read from the tokens. The numbers are interface constants. C11 and C++20. */
#ifndef KVEL_KEYWORDS_H
#define KVEL_KEYWORDS_H

/* X(name, id), by command family, in the order of the ids. */
#define KVEL_CLASS_MAP_KEYWORDS(X)      \
  X(class_map_description, 5)           \
  X(class_map_l3_name, 8)               \
  X(class_map_l3_match_any, 9)          \
  X(class_map_l3_match_all, 10)         \
  X(class_map_type_http_lb, 15)         \
  X(class_map_http_lb_match_all, 16)    \
  X(class_map_http_lb_match_any, 17)    \
  X(class_map_http_lb_name, 18)         \
  X(class_map_type_http_insp, 102)      \
  X(class_map_http_insp_name, 103)      \
  X(class_map_http_insp_match_all, 104) \
  X(class_map_http_insp_match_any, 105) \
  X(class_map_type_ftp_insp, 172)       \
  X(class_map_ftp_insp_name, 173)       \
  X(class_map_ftp_insp_match_any, 178)  \
  X(class_map_type_mgmt, 182)           \
  X(class_map_mgmt_name, 183)           \
  X(class_map_mgmt_match_all, 195)      \
  X(class_map_mgmt_match_any, 196)

#define KVEL_KEYWORDS(X) KVEL_CLASS_MAP_KEYWORDS(X)

/* KVEL_KW_<name> for C. C++ code says kvel::kw::<name>. */
enum {
#define KVEL_KEYWORD_ENUMERATOR(name, id) KVEL_KW_##name = (id),
  KVEL_KEYWORDS(KVEL_KEYWORD_ENUMERATOR)
#undef KVEL_KEYWORD_ENUMERATOR
};

#ifdef __cplusplus
namespace kvel::kw {
#define KVEL_KEYWORD_CONSTANT(name, id) inline constexpr unsigned name = (id);
KVEL_KEYWORDS(KVEL_KEYWORD_CONSTANT)
#undef KVEL_KEYWORD_CONSTANT
}  // namespace kvel::kw
#endif

#endif
