// The one list of the command groups. A group is a file that declares its modes and commands in a function named here.
#pragma once

#include <array>

#include "shell/grammar/grammar.h"

namespace kvel::shell {

void declare_shell_commands(GrammarBuilder& grammar);  // shell_commands.cpp; declares the top mode too
void declare_class_maps(GrammarBuilder& grammar);      // class_map.cpp; declares the modes of class-maps too
void declare_layer34_matches(GrammarBuilder& grammar);
void declare_management_matches(GrammarBuilder& grammar);
void declare_load_balancing_matches(GrammarBuilder& grammar);
void declare_http_inspection_matches(GrammarBuilder& grammar);
void declare_ftp_inspection_matches(GrammarBuilder& grammar);
void declare_policy_maps(GrammarBuilder& grammar);  // policy_map.cpp; declares the modes of policy-maps too
void declare_inline_matches(GrammarBuilder& grammar);
void declare_layer34_actions(GrammarBuilder& grammar);
void declare_load_balancing_actions(GrammarBuilder& grammar);
void declare_inspection_actions(GrammarBuilder& grammar);
void declare_management_actions(GrammarBuilder& grammar);
void declare_parameter_maps(GrammarBuilder& grammar);  // parameter_map.cpp; declares the modes of parameter-maps too
void declare_connection_parameters(GrammarBuilder& grammar);
void declare_http_parameters(GrammarBuilder& grammar);
void declare_ssl_parameters(GrammarBuilder& grammar);
void declare_ssl_proxies(GrammarBuilder& grammar);  // ssl_proxy.cpp; declares the mode of SSL-proxy services too
void declare_service_policies(GrammarBuilder& grammar);
void declare_traffic(GrammarBuilder& grammar);

inline constexpr std::array kCommandGroups{declare_shell_commands,         declare_class_maps,
                                           declare_layer34_matches,        declare_management_matches,
                                           declare_load_balancing_matches, declare_http_inspection_matches,
                                           declare_ftp_inspection_matches, declare_policy_maps,
                                           declare_inline_matches,         declare_layer34_actions,
                                           declare_load_balancing_actions, declare_inspection_actions,
                                           declare_management_actions,     declare_parameter_maps,
                                           declare_connection_parameters,  declare_http_parameters,
                                           declare_ssl_parameters,         declare_ssl_proxies,
                                           declare_service_policies,       declare_traffic};

}  // namespace kvel::shell
