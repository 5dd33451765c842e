// The ids of the commands that the shell carries out itself.
#pragma once

#include <string_view>

#include "shell/grammar/symbol.h"

namespace kvel::shell {

// The first word of every show command.
inline constexpr std::string_view kShowHelp = "Show information";

}  // namespace kvel::shell

namespace kvel::shell::command {

inline constexpr std::string_view kExit = "exit";        // leave the mode; at the top, leave the shell
inline constexpr std::string_view kEnd = "end";          // back to the top mode
inline constexpr std::string_view kQuit = "quit";        // leave the shell from any mode
inline constexpr std::string_view kHelp = "help";        // how to use the shell
inline constexpr std::string_view kHistory = "history";  // the lines typed so far ("history", "show history")
inline constexpr std::string_view kShowRunningConfig = "show running-config";
inline constexpr std::string_view kShowUses = "show uses";                       // what refers to an object
inline constexpr std::string_view kShowVersion = "show version";                 // of the shell
inline constexpr std::string_view kShowClassMap = "show class-map";              // one, or all
inline constexpr std::string_view kShowPolicyMap = "show policy-map";            // one, or all
inline constexpr std::string_view kShowParameterMap = "show parameter-map";      // one, or all; as a document
inline constexpr std::string_view kShowSslProxy = "show ssl-proxy";              // one, or all
inline constexpr std::string_view kShowServicePolicies = "show service-policy";  // all that are applied
inline constexpr std::string_view kServicePolicy = "service-policy";             // apply a policy-map, or remove it
inline constexpr std::string_view kTraffic = "traffic";                          // count the flows of a file
inline constexpr std::string_view kExplain = "explain";                          // how one flow is classified

// Keywords of the shell's own commands; the plug-in never sees them.
inline constexpr KeywordId kShownName = 0x10000;
inline constexpr KeywordId kAppliedPolicy = 0x10001;
inline constexpr KeywordId kAppliedVlan = 0x10002;
inline constexpr KeywordId kTrafficFile = 0x10003;
inline constexpr KeywordId kExplainedFlow = 0x10004;
inline constexpr KeywordId kShownClassMaps = 0x10005;
inline constexpr KeywordId kShownPolicyMaps = 0x10006;
inline constexpr KeywordId kShownParameterMaps = 0x10007;
inline constexpr KeywordId kShownSslProxies = 0x10008;
inline constexpr KeywordId kUsedName = 0x10009;

}  // namespace kvel::shell::command
