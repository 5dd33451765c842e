/* Statuses of backend calls: what the transport and the classification manager answer. A name, its value and its text
 * for the user stand here once. C11 and C++20. */
#ifndef KVEL_STATUS_H
#define KVEL_STATUS_H

/* X(name, value, text). */
#define KVEL_STATUSES(X)                                                                                  \
  X(ok, 0, "success")                                                                                     \
  X(unknown_call, -999, "the called function is not known to the manager")                                \
  X(timed_out, -998, "the manager did not answer in time")                                                \
  X(transport, -997, "the manager could not be reached")                                                  \
  X(bad_arguments, -996, "the arguments of the call do not fit the called function")                      \
  X(internal, -1, "the manager failed while carrying out the call; nothing was changed")                  \
  X(more_data, 0x40f30000, "success, more data follows")                                                  \
  X(policy_map_not_found, 0x40f30009, "the policy-map does not exist")                                    \
  X(class_map_not_found, 0x40f3000a, "the class-map does not exist")                                      \
  X(class_map_type_differs, 0x40f3000f, "the class-map already exists with a different type")             \
  X(policy_map_type_differs, 0x40f30010, "the policy-map already exists with a different type")           \
  X(class_map_in_use, 0x40f3009b, "the class-map is in use and cannot be deleted")                        \
  X(policy_map_in_use, 0x40f3009c, "the policy-map is in use and cannot be deleted")                      \
  X(class_map_has_children, 0x40f300f2, "the class-map has class-maps nested in it")                      \
  X(class_map_is_child, 0x40f30106, "the class-map is already nested in another class-map")               \
  X(insert_before_not_found, 0x40f3013c, "the class or match to insert before does not exist")            \
  X(class_not_found, 0x40f30141, "the class or match is not in the policy-map")                           \
  X(invalid_name, 0x40f3f001, "an object name must be 1 to 64 bytes of UTF-8 without control characters") \
  X(invalid_text, 0x40f3f002, "a text must be UTF-8 without control characters")                          \
  X(invalid_type, 0x40f3f003, "there is no such object type")                                             \
  X(invalid_match_mode, 0x40f3f004, "a match mode is match-all or match-any")                             \
  X(parameter_map_not_found, 0x40f3f005, "the parameter-map does not exist")                              \
  X(ssl_proxy_not_found, 0x40f3f006, "the SSL-proxy service does not exist")                              \
  X(store_full, 0x40f3f010, "the configuration store is full; nothing was changed")                       \
  X(store_failed, 0x40f3f011, "the configuration store could not be written; nothing was changed")        \
  X(store_read_only, 0x40f3f012, "the configuration store is read-only; nothing was changed")

enum {
#define KVEL_STATUS_ENUMERATOR(name, value, text) KVEL_STATUS_##name = (value),
  KVEL_STATUSES(KVEL_STATUS_ENUMERATOR)
#undef KVEL_STATUS_ENUMERATOR
};

#endif
