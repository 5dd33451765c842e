/* Statuses of backend calls: what the transport and the classification manager answer. A name, its value and its text
 * for the user stand here once. C11 and C++20. */
#ifndef KVEL_STATUS_H
#define KVEL_STATUS_H

/* X(name, value, text). */
#define KVEL_STATUSES(X)                                                                                             \
  X(ok, 0, "success")                                                                                                \
  X(unknown_call, -999, "the called function is not known to the manager")                                           \
  X(timed_out, -998, "the manager did not answer in time")                                                           \
  X(transport, -997, "the manager could not be reached")                                                             \
  X(bad_arguments, -996, "the arguments of the call do not fit the called function")                                 \
  X(internal, -1, "the manager failed while carrying out the call; nothing was changed")                             \
  X(more_data, 0x40f30000, "success, more data follows")                                                             \
  X(policy_map_not_found, 0x40f30009, "the policy-map does not exist")                                               \
  X(class_map_not_found, 0x40f3000a, "the class-map does not exist")                                                 \
  X(class_map_type_differs, 0x40f3000f, "the class-map is of another type")                                          \
  X(policy_map_type_differs, 0x40f30010, "the policy-map is of another type")                                        \
  X(class_map_in_use, 0x40f3009b, "the class-map is in use and cannot be deleted")                                   \
  X(policy_map_in_use, 0x40f3009c, "the policy-map is in use and cannot be deleted")                                 \
  X(class_map_has_children, 0x40f300f2, "the class-map has class-maps nested in it")                                 \
  X(class_map_is_child, 0x40f30106, "the class-map is already nested in another class-map")                          \
  X(insert_before_not_found, 0x40f3013c, "the class or match to insert before does not exist")                       \
  X(class_not_found, 0x40f30141, "the class or match is not in the policy-map")                                      \
  X(invalid_name, 0x40f3f001, "an object name must be 1 to 64 bytes of UTF-8 without control characters")            \
  X(invalid_text, 0x40f3f002, "a text must be UTF-8 without control characters")                                     \
  X(invalid_type, 0x40f3f003, "there is no such object type")                                                        \
  X(invalid_match_mode, 0x40f3f004, "a match mode is match-all or match-any")                                        \
  X(parameter_map_not_found, 0x40f3f005, "the parameter-map does not exist")                                         \
  X(ssl_proxy_not_found, 0x40f3f006, "the SSL-proxy service does not exist")                                         \
  X(name_taken, 0x40f3f007, "the name is taken by an inline match, or by the class behind it")                       \
  X(store_full, 0x40f3f010, "the configuration store is full; nothing was changed")                                  \
  X(store_failed, 0x40f3f011, "the configuration store could not be written; nothing was changed")                   \
  X(store_read_only, 0x40f3f012, "the configuration store is read-only; nothing was changed")                        \
  X(rule_type_differs, 0x40f3f020, "the class-map's type does not take this kind of rule")                           \
  X(rule_not_found, 0x40f3f021, "the class-map has no such rule")                                                    \
  X(rule_at_another_line, 0x40f3f022, "the class-map has this rule at another line")                                 \
  X(line_taken, 0x40f3f023, "the line number is taken by another rule")                                              \
  X(line_not_found, 0x40f3f024, "the class-map has no rule at this line")                                            \
  X(lines_used_up, 0x40f3f025, "the line numbers would go beyond 4294967295")                                        \
  X(rule_not_given, 0x40f3f026, "a line number alone does not say which rule to add")                                \
  X(nested_type_differs, 0x40f3f027, "only an HTTP load-balancing class-map can be nested in another")               \
  X(nested_in_itself, 0x40f3f028, "a class-map cannot be nested in itself")                                          \
  X(invalid_address, 0x40f3f030, "the address is not that of a host")                                                \
  X(invalid_mask, 0x40f3f031, "a mask must be a run of one bits followed by zero bits only")                         \
  X(invalid_protocol, 0x40f3f032, "an IP protocol is a number from 0 to 255")                                        \
  X(invalid_port, 0x40f3f033, "a port is a number from 0 to 65535")                                                  \
  X(invalid_length, 0x40f3f034, "a header length is at most 255, a URL length at most 65535")                        \
  X(invalid_offset, 0x40f3f035, "a content expression and its offset may reach 255 bytes together")                  \
  X(invalid_code, 0x40f3f036, "the rule's code stands for nothing that this kind of rule can match")                 \
  X(invalid_token, 0x40f3f037, "a header or cookie name is an HTTP token of 1 to 64 (insert-header: 255) bytes")     \
  X(empty_range, 0x40f3f038, "the range is empty: its lower end is above its upper end")                             \
  X(invalid_vlan, 0x40f3f039, "a VLAN is a number from 1 to 4094")                                                   \
  X(expression_empty, 0x40f3f040, "the expression is empty")                                                         \
  X(expression_unclosed_group, 0x40f3f041, "the expression has a ( without its )")                                   \
  X(expression_unopened_group, 0x40f3f042, "the expression has a ) without its (")                                   \
  X(expression_unclosed_class, 0x40f3f043, "the expression has a [ without its ]")                                   \
  X(expression_bad_class, 0x40f3f044,                                                                                \
    "the expression has an unknown character class, or a range whose ends are out of order")                         \
  X(expression_bad_escape, 0x40f3f045, "the expression has a \\ before a character that cannot follow it")           \
  X(expression_trailing_backslash, 0x40f3f046, "the expression ends in a \\ that escapes nothing")                   \
  X(expression_nothing_to_repeat, 0x40f3f047, "the expression has a *, +, ? or {} with nothing before it to repeat") \
  X(expression_bad_repetition, 0x40f3f048,                                                                           \
    "the expression has a {} whose counts are out of order, or above 1000 in all")                                   \
  X(expression_double_repetition, 0x40f3f049, "the expression has a *, +, ? or {} right after another, as in **")    \
  X(expression_bad_group, 0x40f3f04a, "the expression has a (? of a kind that does not exist")                       \
  X(expression_bad_group_name, 0x40f3f04b, "the expression has a (?P<> without a proper name")                       \
  X(expression_too_large, 0x40f3f04c, "the expression is too large; repeat less, as with * instead of {0,1000}")     \
  X(expression_refused, 0x40f3f04d, "the expression cannot be used")                                                 \
  X(class_type_differs, 0x40f3f050, "the class-map is of a type that this policy-map does not take")                 \
  X(class_not_in_policy, 0x40f3f051, "the policy-map has no such class or match")                                    \
  X(action_not_found, 0x40f3f052, "the class has no such action")                                                    \
  X(rule_needed, 0x40f3f053, "an inline match keeps a rule; remove the match itself")                                \
  X(permit_and_deny, 0x40f3f054, "a class permits or denies, not both; take the other away first")                   \
  X(parameter_map_type_differs, 0x40f3f060, "the parameter-map is of another type")                                  \
  X(parameter_map_in_use, 0x40f3f061, "the parameter-map is in use and cannot be deleted")                           \
  X(ssl_proxy_in_use, 0x40f3f062, "the SSL-proxy service is in use and cannot be deleted")                           \
  X(invalid_setting, 0x40f3f063, "the setting does not take this value")                                             \
  X(member_not_set, 0x40f3f064, "the SSL-proxy service has no such member set")                                      \
  X(bounds_crossed, 0x40f3f065, "the minimum would be above the maximum; give both in one command")                  \
  X(object_made_anew, 0x40f3f066, "the object was deleted in between, and another one made by its name; ask again")  \
  X(too_many_actions, 0x40f3f067, "the class would have more actions than can be shown together; use another class") \
  X(policy_not_applicable, 0x40f3f070, "only a layer-3/4 or a management policy-map can be applied to traffic")      \
  X(policy_not_applied, 0x40f3f071, "the policy-map is not applied there")                                           \
  X(policy_applied_otherwise, 0x40f3f072,                                                                            \
    "a policy-map is applied to all traffic or to VLANs, not to both; take it away there first")                     \
  X(application_taken, 0x40f3f073, "another policy-map of this type is applied there already")                       \
  X(policy_name_needed, 0x40f3f074, "several policy-maps are applied to traffic; name one")

enum {
#define KVEL_STATUS_ENUMERATOR(name, value, text) KVEL_STATUS_##name = (value),
  KVEL_STATUSES(KVEL_STATUS_ENUMERATOR)
#undef KVEL_STATUS_ENUMERATOR
};

/* A fault in an expression whose place is known is answered by a status of its own for each place: one of
 * expression_unclosed_group to expression_bad_group_name, and the character at which it is, counted from 1. */
#define KVEL_STATUS_EXPRESSION_AT(fault, character) \
  (0x40f3e000 + (((fault)-KVEL_STATUS_expression_empty) << 8) + (character))

/* A character that the name of a new object cannot have is answered by a status of its own for each such character and
 * each place: the character's number among those that cannot be shown (docs/configuration-records.md), or 255 for bytes
 * that are no UTF-8, and which character of the name it is, counted from 1. */
#define KVEL_STATUS_NAME_CHARACTER(number, character) (0x40f34000 + ((number) << 6) + (character)-1)

#endif
