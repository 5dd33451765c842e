// The built library from outside: what it shows, what it needs, that its headers stand alone, that it goes away.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/cli/command_record.h"
#include "tests/cli/fake_host.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::plugin_audit_test {
namespace {

using testing::IsEmpty;
using testing::IsSupersetOf;
using Names = std::set<std::string>;

const std::string kPlugin = KVEL_TEST_PLUGIN;
constexpr bool kSanitized = !std::string_view(KVEL_TEST_SANITIZERS).empty();

struct ToolResult {
  int status = -1;
  std::string output;
};

// Runs a tool of the build with its errors among its output.
ToolResult run_tool(const std::string& command) {
  ToolResult result;
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return result;
  std::array<char, 4096> piece{};
  while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), pipe))
    result.output.append(piece.data(), count);
  result.status = pclose(pipe);
  return result;
}

using Words = std::vector<std::string>;

// The lines of a tool's output, split at white space.
std::vector<Words> table(const std::string& command) {
  const ToolResult result = run_tool(command);
  EXPECT_EQ(result.status, 0) << command << "\n" << result.output;
  std::vector<Words> lines;
  std::istringstream output(result.output);
  for (std::string line; std::getline(output, line);) {
    std::istringstream words(line);
    lines.push_back(Words(std::istream_iterator<std::string>(words), {}));
  }
  return lines;
}

// One line of the symbol table, "Num: Value Size Type Bind Vis Ndx Name[@Version]".
struct Symbol {
  std::string bind;
  std::string section;
  std::string name;
  std::string version;
};

// A machine's linker may list sections among the symbols; those are nobody's to use.
std::vector<Symbol> dynamic_symbols() {
  std::vector<Symbol> symbols;
  for (const Words& words : table(std::string(KVEL_TEST_READELF) + " --wide --dyn-syms '" + kPlugin + "'")) {
    if (words.size() < 8 || words[0] == "Num:" || words[3] == "SECTION") continue;
    const std::string& name = words[7];
    const std::size_t at = name.find('@');
    symbols.push_back({words[4], words[6], name.substr(0, at), at == std::string::npos ? "" : name.substr(at)});
  }
  return symbols;
}

TEST(PluginAudit, ExportsTheListAndNothingElse) {
  Names exported;
  for (const Words& words : table(std::string(KVEL_TEST_NM) + " -D --defined-only '" + kPlugin + "'")) {
    ASSERT_EQ(words.size(), 3U);
    EXPECT_EQ(words[1], "T") << words[2];
    exported.insert(words[2]);
  }
  EXPECT_EQ(exported, (Names{
                          // handlers
                          "kvelclassmap_config",
                          "kvelclassmap_config_desc",
                          // match rules of class-maps
                          "kvelclassmap_configvip",
                          "kvelclassmap_configsrcdstaddr",
                          "kvelclassmap_configport",
                          "kvelclassmap_configanything",
                          "kvelclassmap_configacl",
                          "kvelclassmap_config_mgmtproto",
                          "kvelclassmap_config_lineno",
                          "kvelclassmap_config_mgmt_lineno",
                          "kvelclassmap_delete_match_linenum",
                          "kvelclassmap_configdefaultinsp",
                          "kvelclassmap_config_httplb",
                          "kvelclassmap_config_httpinspect",
                          "kvelclassmap_config_ftpinspect",
                          "kvelclassmap_config_httpinsp_hdrlen",
                          "kvelclassmap_config_httpinsp_hdr",
                          "kvelclassmap_config_httpinsp_url",
                          "kvelclassmap_config_httpinsp_mime",
                          "kvelclassmap_config_httpinsp_content",
                          "kvelclassmap_config_httpinsp_cntlen",
                          "kvelclassmap_config_httpinsp_method",
                          "kvelclassmap_config_httpinsp_p80misuse",
                          "kvelclassmap_config_httpinsp_encoding",
                          "kvelclassmap_config_httplburl",
                          "kvelclassmap_config_httplbcookie",
                          "kvelclassmap_config_httplbhdr",
                          "kvelclassmap_config_httplbsrcaddr",
                          "kvelclassmap_config_httplbcmap",
                          "kvelclassmap_config_httplbssl",
                          // completion hooks
                          "classmap_completionhook",
                          "classmap_l3_completionhook",
                          "classmap_mgmt_completionhook",
                          "classmap_lb_completionhook",
                          "classmap_insphttp_completionhook",
                          "classmap_inspftp_completionhook",
                          // policy-maps, their classes, actions and inline matches
                          "kvelpolicymap_config",
                          "kvelpolicymap_configclass",
                          "kvelpolicymap_configsequence",
                          "kvelpolicymap_configdescr",
                          "kvelpolicymap_confignat",
                          "kvelpolicymap_configsacl",
                          "kvelpolicymap_configloadbalance",
                          "kvelpolicymap_configinspect_l3http",
                          "kvelpolicymap_configinspect_dns",
                          "kvelpolicymap_configinspect_icmp",
                          "kvelpolicymap_configinspect_ftp",
                          "kvelpolicymap_configinspect_rtsp",
                          "kvelpolicymap_config_sslproxy_server",
                          "kvelpolicymap_configconn",
                          "kvelpolicymap_configappl_params",
                          "kvelpolicymap_configslbactions",
                          "kvelpolicymap_config_sslproxy_client",
                          "kvelpolicymap_config_inline_lb",
                          "kvelpolicymap_cfginsp_l7http_action",
                          "kvelpolicymap_configinspect_l7http",
                          "kvelpolicymap_configclass_insftpact",
                          "kvelpolicymap_configmatch_insftpreq",
                          "kvelpolicymap_configmgmt",
                          "kvelpolicymap_configqos",
                          "kvelpolicymap_configinspect",
                          "kvelpolicymap_configfilter",
                          "kvelpolicymap_configrepconns",
                          "kvelpolicymap_configaaa",
                          "kvelpolicymap_configcookie",
                          "kvelpolicymap_confighdr",
                          "kvelpolicymap_configurl",
                          "kvelpolicymap_configssl",
                          "kvelpolicymap_confighdr_insp",
                          "kvelpolicymap_configurl_insp",
                          // completion hooks of policy-maps
                          "policymap_completionhook",
                          "policymap_l3_completionhook",
                          "policymap_lb_completionhook",
                          "policymap_insphttp_completionhook",
                          "policymap_inspftp_completionhook",
                          "policymap_mgmt_completionhook",
                          "policymap_svc_completionhook",
                          // parameter-maps and SSL-proxy services
                          "kvelparammap_config",
                          "kvelparammap_config_conn",
                          "kvelparammap_config_http",
                          "kvelparammap_config_ssl",
                          "kvelparammap_show_parammap",
                          "sslproxy_config",
                          "sslproxy_submode_config",
                          "kvelparammap_hook",
                          "kvelparammap_conn_completionhook",
                          "kvelparammap_http_completionhook",
                          "kvelparammap_ssl_completionhook",
                          "kvelparammap_completionhook",
                          "sslproxy_completionhook",
                          "format_and_display_param_map",
                          "pm_format_ssl_cipher_str",
                          // service policies
                          "kvelpolicymap_show_servicepolicy",
                          "kvelpolicymap_clear_servicepolicy",
                          "format_and_display_policystats",
                          // status printers
                          "class_display_error",
                          "policy_display_error",
                          "parammap_display_error",
                          "ssl_proxy_display_error",
                      }));
}

// The header declares what the library exports: each name once, as a function.
TEST(PluginAudit, TheHeaderDeclaresTheExports) {
  std::ifstream header(std::string(KVEL_TEST_INCLUDE_DIR) + "/kvel/plugin.h");
  const std::string text(std::istreambuf_iterator<char>(header), {});
  ASSERT_FALSE(text.empty());
  std::size_t exported = 0;
  for (const Symbol& symbol : dynamic_symbols()) {
    if (symbol.section == "UND") continue;
    ++exported;
    EXPECT_NE(text.find(" " + symbol.name + "("), std::string::npos) << symbol.name;
  }
  std::size_t declared = 0;
  for (std::size_t at = text.find("\nKVEL_EXPORT "); at != std::string::npos; at = text.find("\nKVEL_EXPORT ", at + 1))
    ++declared;
  EXPECT_EQ(declared, exported);
}

TEST(PluginAudit, NeedsTheCLibraryAlone) {
  Names needed;
  for (const Words& words : table(std::string(KVEL_TEST_READELF) + " --wide --dynamic '" + kPlugin + "'")) {
    if (words.size() >= 5 && words[1] == "(NEEDED)") needed.insert(words[4]);
  }
  if (kSanitized) {
    std::erase_if(needed, [](const std::string& name) {
      return name.starts_with("[libasan.so.") || name.starts_with("[libubsan.so.") || name.starts_with("[libtsan.so.");
    });
  }
  EXPECT_EQ(needed, Names{"[libc.so.6]"});
}

bool is_of_a_sanitizer(std::string_view symbol) {
  constexpr std::string_view kPrefixes[] = {"__asan_", "__ubsan_", "__tsan_", "__sanitizer_cov_", "__sancov_"};
  return std::ranges::any_of(kPrefixes, [&](std::string_view prefix) { return symbol.starts_with(prefix); });
}

TEST(PluginAudit, TakesThePlatformFunctionsFromItsHost) {
  Names from_host;
  Names weak;
  for (const Symbol& symbol : dynamic_symbols()) {
    if (symbol.section != "UND" || symbol.name.empty()) continue;
    if (symbol.version.starts_with("@GLIBC_")) continue;
    if (kSanitized && is_of_a_sanitizer(symbol.name)) continue;
    (symbol.bind == "WEAK" ? weak : from_host).insert(symbol.name);
  }
  EXPECT_EQ(from_host, (Names{
                           "tnrpc_clnt_init",
                           "tnrpc_call",
                           "tnrpc_init_resp",
                           "tnrpc_free",
                           "syserr2str",
                           "vsh_platform_specific_rule_domain_check_valid",
                           "vsh_platform_matched_rule_modify_check",
                           "xprint_header",
                           "xprint_footer",
                           "xprint",
                           "xmltag",
                       }));
  // Optional hooks of the compiler's start files.
  EXPECT_THAT((Names{"__gmon_start__", "_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable"}),
              IsSupersetOf(weak));
}

// The heap of these tests replaces these functions alone.
TEST(PluginAudit, AllocatesOnlyThroughFunctionsThatTheTestsWatch) {
  for (const Symbol& symbol : dynamic_symbols()) {
    for (const char* unwatched : {"reallocarray", "aligned_alloc", "posix_memalign", "memalign", "valloc", "pvalloc",
                                  "asprintf", "vasprintf", "__asprintf_chk", "__vasprintf_chk", "open_memstream",
                                  "getline", "getdelim", "_Znwm", "_Znam", "_Znwj", "_Znaj"}) {
      EXPECT_NE(symbol.name, unwatched);
    }
  }
}

// What a character is may not depend on the locale that a host has set.
TEST(PluginAudit, ChecksCharactersWithoutTheHostsLocale) {
  for (const Symbol& symbol : dynamic_symbols()) {
    for (const char* dependent : {"__ctype_b_loc",
                                  "__ctype_tolower_loc",
                                  "__ctype_toupper_loc",
                                  "isalnum",
                                  "isalpha",
                                  "iscntrl",
                                  "isdigit",
                                  "isgraph",
                                  "islower",
                                  "isprint",
                                  "ispunct",
                                  "isspace",
                                  "isupper",
                                  "isxdigit",
                                  "strcasecmp",
                                  "strcoll",
                                  "strncasecmp",
                                  "strxfrm",
                                  "tolower",
                                  "toupper"}) {
      EXPECT_NE(symbol.name, dependent);
    }
  }
}

// A unique symbol would keep the library loaded for ever.
TEST(PluginAudit, HasNoUniqueSymbols) {
  std::size_t symbols = 0;
  for (const Words& words : table(std::string(KVEL_TEST_READELF) + " --wide --symbols '" + kPlugin + "'")) {
    if (words.size() < 8 || words[0] == "Num:") continue;
    ++symbols;
    EXPECT_NE(words[4], "UNIQUE") << words[7];
  }
  EXPECT_GT(symbols, 40U);
}

TEST(PluginAudit, HasNeitherExceptionsNorTypeInformation) {
  const ToolResult sections = run_tool(std::string(KVEL_TEST_READELF) + " --wide --sections '" + kPlugin + "'");
  EXPECT_EQ(sections.status, 0);
  EXPECT_NE(sections.output.find(".text"), std::string::npos);
  EXPECT_EQ(sections.output.find(".gcc_except_table"), std::string::npos);
  for (const Words& words : table(std::string(KVEL_TEST_READELF) + " --wide --symbols '" + kPlugin + "'")) {
    if (words.size() < 8) continue;
    EXPECT_FALSE(words[7].starts_with("_ZTI") || words[7].starts_with("_ZTS")) << words[7];
  }
}

// ---- headers

Names header_names() {
  Names names;
  for (const auto& entry : std::filesystem::directory_iterator(std::string(KVEL_TEST_INCLUDE_DIR) + "/kvel"))
    names.insert(entry.path().filename());
  return names;
}

void expect_headers_compile_alone(const std::string& compiler, const std::string& language) {
  const Names names = header_names();
  EXPECT_THAT(names, IsSupersetOf({"command.h", "completion.h", "host.h", "keywords.h", "output.h", "plugin.h", "rpc.h",
                                   "status.h"}));
  for (const std::string& name : names) {
    EXPECT_TRUE(name.ends_with(".h")) << name;
    std::ostringstream command;
    command << "printf '#include <kvel/" << name << ">\\n#include <kvel/" << name << ">\\n' | '" << compiler << "' "
            << language << " -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I '" << KVEL_TEST_INCLUDE_DIR << "' -";
    const ToolResult result = run_tool(command.str());
    EXPECT_EQ(result.status, 0) << name << "\n" << result.output;
    EXPECT_EQ(result.output, "") << name;
  }
}

TEST(PluginAudit, HeadersCompileAloneAsC11) { expect_headers_compile_alone(KVEL_TEST_CC, "-x c -std=c11"); }

TEST(PluginAudit, HeadersCompileAloneAsCpp20) { expect_headers_compile_alone(KVEL_TEST_CXX, "-x c++ -std=c++20"); }

TEST(PluginAudit, ABrokenHeaderWouldBeNoticed) {
  const ToolResult result = run_tool(std::string("printf 'int f(void) { int unused; }\\n' | '") + KVEL_TEST_CC +
                                     "' -x c -std=c11 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -");
  EXPECT_NE(result.status, 0);
  EXPECT_NE(result.output, "");
}

// ---- loading and unloading

bool is_mapped() {
  std::ifstream maps("/proc/self/maps");
  const std::string file = std::filesystem::path(kPlugin).filename();
  bool any = false;
  for (std::string line; std::getline(maps, line);) {
    any = true;
    if (line.find(file) != std::string::npos) return true;
  }
  EXPECT_TRUE(any) << "/proc/self/maps cannot be read";
  return false;
}

// One command and one completion through a freshly loaded library.
void use(Host& host, void* library) {
  auto* handler = reinterpret_cast<KvelHandler*>(dlsym(library, "kvelclassmap_config"));
  auto* hook = reinterpret_cast<KvelCompletionHook*>(dlsym(library, "classmap_completionhook"));
  ASSERT_NE(handler, nullptr);
  ASSERT_NE(hook, nullptr);
  const CommandRecord command({{8, "web"}}, {});
  const HookCommandRecord partial({});
  host.answer({.status = -997});
  host.answer({.response = page({"web"})});
  host.begin();
  const std::int32_t returned = handler(command.get());
  CompletionList* list = hook(0, partial.get());
  const Events events = host.end();
  EXPECT_EQ(returned, 255);
  EXPECT_EQ(events.size(), 7U);
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->count, 1U);
  EXPECT_STREQ(list->entries[0]->name, "web");
  std::free(list->entries[0]->name);
  std::free(list->entries[0]->help);
  std::free(list->entries[0]);
  std::free(list->entries);
  std::free(list);
  EXPECT_THAT(host.take_complaints(), IsEmpty());
}

TEST(PluginAudit, ReallyUnloads) {
  Host host;
  ASSERT_FALSE(is_mapped());
  void* library = dlopen(kPlugin.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_TRUE(is_mapped());
  use(host, library);
  EXPECT_EQ(dlclose(library), 0);
  EXPECT_FALSE(is_mapped());
}

TEST(PluginAudit, LoadsAndUnloads100Times) {
  Host host;
  for (int round = 0; round < 100; ++round) {
    void* library = dlopen(kPlugin.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    use(host, library);
    ASSERT_EQ(dlclose(library), 0);
    ASSERT_FALSE(is_mapped());
  }
}

}  // namespace
}  // namespace kvel::cli::test::plugin_audit_test
