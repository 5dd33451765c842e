// A host that offers the platform functions and reads every argument of a call, to measure the plug-in alone.
//   bench_plugin handler N      N commands through kvelclassmap_config
//   bench_plugin bare N         the same N backend calls, made directly
//   bench_plugin vip N, any N   N match rules through the handler with the most tokens and checks, and the one with the
//   bench_plugin vip-bare N, any-bare N            least; and their calls, made directly
//   bench_plugin inline-http N, largest-record N   the largest handler, and the one with the largest record; and their
//   bench_plugin inline-http-bare N, ...           calls, made directly
//   bench_plugin completion     nanoseconds for 100,000 names: the hook, and the bare allocations that it needs
// All but the last are run under an instruction counter; their own cost outside the loop cancels out between two values
// of N.
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "kvel/host.h"
#include "kvel/keywords.h"
#include "kvel/output.h"
#include "kvel/plugin.h"
#include "kvel/rpc.h"

namespace {

constexpr std::size_t kNames = 100000;
constexpr std::size_t kNamesPerPage = 1000;
constexpr std::size_t kNameSize = 65;
constexpr int kRuns = 9;

std::uint64_t checksum = 0;  // what was read, so that reading is not optimised away

std::vector<char> make_names() {
  std::vector<char> names(kNames * kNameSize);
  for (std::size_t index = 0; index < kNames; ++index) {
    std::snprintf(&names[index * kNameSize], kNameSize, "class-map-number-%06zu", index);
  }
  return names;
}
const std::vector<char>& all_names() {
  static const std::vector<char> names = make_names();
  return names;
}
std::size_t next_name = 0;

void answer_page(TnrpcResponse* response, unsigned char* more) {
  response->length = static_cast<std::int32_t>(kNamesPerPage * kNameSize);
  response->data = const_cast<char*>(&all_names()[next_name * kNameSize]);
  next_name += kNamesPerPage;
  more[3] = next_name < kNames ? 1 : 0;
}

}  // namespace

int32_t tnrpc_clnt_init(int32_t) { return 0; }
void tnrpc_init_resp(TnrpcResponse* response) { *response = {}; }
void tnrpc_free(TnrpcResponse*) {}
const char* syserr2str(int32_t) { return ""; }
int32_t vsh_platform_specific_rule_domain_check_valid(int32_t, const char*, uint32_t) { return 1; }
int32_t vsh_platform_matched_rule_modify_check(uint32_t) { return 0; }
void xprint_header(const char*) {}
void xprint_footer(const char*) {}
void xprint(const char*, ...) {}
char* xmltag(char* buffer, int32_t, ...) { return buffer; }

int32_t tnrpc_call(const char* name, int32_t nargs, ...) {
  va_list args;
  va_start(args, nargs);
  unsigned char* last_buffer = nullptr;
  std::uint64_t sum = std::strlen(name);
  for (int32_t index = 0; index < nargs; ++index) {
    switch (va_arg(args, int)) {
      case TNRPC_ARG_U8:
      case TNRPC_ARG_U16:
        sum += static_cast<std::uint64_t>(va_arg(args, int));
        break;
      case TNRPC_ARG_U32:
      case TNRPC_ARG_SESSION:
        sum += va_arg(args, uint32_t);
        break;
      case TNRPC_ARG_STRING:
        for (const char* byte = va_arg(args, const char*); *byte != '\0'; ++byte)
          sum += static_cast<unsigned char>(*byte);
        break;
      case TNRPC_ARG_BUFFER: {
        last_buffer = static_cast<unsigned char*>(va_arg(args, void*));
        const uint32_t length = va_arg(args, uint32_t);
        for (uint32_t byte = 0; byte < length; ++byte)
          sum += last_buffer[byte];
        break;
      }
      case TNRPC_ARG_RESPONSE:
        answer_page(va_arg(args, TnrpcResponse*), last_buffer);
        break;
      default:
        std::abort();
    }
  }
  va_end(args);
  checksum += sum;
  return 0;
}

namespace {

void* symbol(const char* name) {
  static void* const library = dlopen(KVEL_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  void* function = library == nullptr ? nullptr : dlsym(library, name);
  if (function == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(1);
  }
  return function;
}

constexpr const char* kName = "web-servers-of-the-north-site";

// The same command over and over.
template <std::size_t Count>
void run_command(const char* handler_name, const std::array<CliToken, Count>& tokens, long count) {
  auto* handler = reinterpret_cast<KvelHandler*>(symbol(handler_name));
  CliCommand command{};
  for (const CliToken& token : tokens)
    command.tokens[command.token_count++] = &token;
  for (long index = 0; index < count; ++index)
    checksum += static_cast<std::uint64_t>(handler(&command));
}

void run_handler(long count) {
  const std::array tokens{CliToken{kvel::kw::class_map_l3_match_any, {}, nullptr},
                          CliToken{kvel::kw::class_map_l3_name, {}, kName}};
  run_command("kvelclassmap_config", tokens, count);
}

void run_bare(long count) {
  for (long index = 0; index < count; ++index) {
    unsigned char word[4] = {};
    checksum += static_cast<std::uint64_t>(tnrpc_call(
        "cm_add_or_lookup_classmap", 7, TNRPC_ARG_U16, 0, TNRPC_ARG_SESSION, uint32_t{0}, TNRPC_ARG_U8, 0, TNRPC_ARG_U8,
        0, TNRPC_ARG_STRING, kName, TNRPC_ARG_U8, 1, TNRPC_ARG_BUFFER, static_cast<void*>(word), uint32_t{4}));
  }
}

// match virtual-address 10.1.1.1 255.255.255.0 tcp equal 80, with a line number.
void run_vip(long count) {
  const uint32_t line = 10;
  const uint32_t address = 0x0A010101;
  const uint32_t mask = 0xFFFFFF00;
  const uint32_t port = 80;
  const std::array tokens{
      CliToken{kvel::kw::class_map_l3_name, {}, kName}, CliToken{kvel::kw::l3_line, {}, &line},
      CliToken{kvel::kw::vip_address, {}, &address},    CliToken{kvel::kw::vip_mask, {}, &mask},
      CliToken{kvel::kw::vip_tcp, {}, nullptr},         CliToken{kvel::kw::vip_tcp_equal, {}, nullptr},
      CliToken{kvel::kw::vip_tcp_number, {}, &port}};
  run_command("kvelclassmap_configvip", tokens, count);
}

void run_vip_bare(long count) {
  for (long index = 0; index < count; ++index) {
    checksum += static_cast<std::uint64_t>(
        tnrpc_call("cm_update_class_to_vip", 13, TNRPC_ARG_U16, 0, TNRPC_ARG_SESSION, uint32_t{0}, TNRPC_ARG_U8, 0,
                   TNRPC_ARG_U8, 1, TNRPC_ARG_STRING, kName, TNRPC_ARG_U32, uint32_t{0x0A010101}, TNRPC_ARG_U32,
                   uint32_t{0xFFFFFF00}, TNRPC_ARG_U32, uint32_t{6}, TNRPC_ARG_U32, uint32_t{0}, TNRPC_ARG_U32,
                   uint32_t{80}, TNRPC_ARG_U32, uint32_t{80}, TNRPC_ARG_U8, 1, TNRPC_ARG_U32, uint32_t{10}));
  }
}

void run_any(long count) {
  run_command("kvelclassmap_configanything", std::array{CliToken{kvel::kw::class_map_l3_name, {}, kName}}, count);
}

void run_any_bare(long count) {
  for (long index = 0; index < count; ++index) {
    checksum += static_cast<std::uint64_t>(tnrpc_call("cm_update_class_to_any", 7, TNRPC_ARG_U16, 0, TNRPC_ARG_SESSION,
                                                      uint32_t{0}, TNRPC_ARG_U8, 0, TNRPC_ARG_U8, 1, TNRPC_ARG_STRING,
                                                      kName, TNRPC_ARG_U8, 1, TNRPC_ARG_U32, uint32_t{0}));
  }
}

constexpr const char* kMatchName = "pictures";
constexpr const char* kExpression = "/images/.*[.](png|jpe?g|gif)";

// An inline match of an HTTP-inspection policy-map: match pictures insert-before other header Accept value EXPRESSION.
void run_inline_http(long count) {
  const std::array tokens{CliToken{kvel::kw::policy_map_http_insp_name, {}, kName},
                          CliToken{kvel::kw::inline_http_match_name, {}, kMatchName},
                          CliToken{kvel::kw::inline_http_insert_before, {}, "other"},
                          CliToken{kvel::kw::http_insp_header_accept, {}, nullptr},
                          CliToken{kvel::kw::http_insp_header_value, {}, kExpression}};
  run_command("kvelpolicymap_configinspect_l7http", tokens, count);
}

void run_inline_http_bare(long count) {
  for (long index = 0; index < count; ++index) {
    char record[328] = {};
    record[3] = 11;
    std::strcpy(record + 4, "Accept");
    std::strcpy(record + 69, kExpression);
    checksum += static_cast<std::uint64_t>(
        tnrpc_call("cm_update_l7_inline_http_insp_match", 7, TNRPC_ARG_U16, 0, TNRPC_ARG_SESSION, uint32_t{0},
                   TNRPC_ARG_U8, 1, TNRPC_ARG_STRING, kName, TNRPC_ARG_STRING, kMatchName, TNRPC_ARG_STRING, "other",
                   TNRPC_ARG_BUFFER, static_cast<void*>(record), uint32_t{sizeof record}));
  }
}

// The action with the largest record: serverfarm NAME.
void run_largest_record(long count) {
  const std::array tokens{CliToken{kvel::kw::policy_map_http_lb_name, {}, kName},
                          CliToken{kvel::kw::policy_http_lb_class, {}, kMatchName},
                          CliToken{kvel::kw::serverfarm, {}, "north"}};
  run_command("kvelpolicymap_configslbactions", tokens, count);
}

void run_largest_record_bare(long count) {
  for (long index = 0; index < count; ++index) {
    char record[732] = {};
    std::strcpy(record + 4, "north");
    record[144] = static_cast<char>(0x80);
    record[728] = 0x40;
    checksum += static_cast<std::uint64_t>(tnrpc_call(
        "cm_lb_add_or_lookup_action", 5, TNRPC_ARG_U16, 0, TNRPC_ARG_U8, 1, TNRPC_ARG_STRING, kName, TNRPC_ARG_STRING,
        kMatchName, TNRPC_ARG_BUFFER, static_cast<void*>(record), uint32_t{sizeof record}));
  }
}

void release(CompletionList* list) {
  for (uint32_t index = 0; index < list->count; ++index) {
    std::free(list->entries[index]->name);
    std::free(list->entries[index]->help);
    std::free(list->entries[index]);
  }
  std::free(list->entries);
  std::free(list);
}

double completion_time(KvelCompletionHook* hook) {
  const CliCommand command{};
  next_name = 0;
  const auto start = std::chrono::steady_clock::now();
  CompletionList* list = hook(0, &command);
  if (list == nullptr || list->count != kNames) std::abort();
  release(list);
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

// The same blocks, allocated, filled with nothing, and released.
double allocation_time() {
  const auto start = std::chrono::steady_clock::now();
  std::vector<void*> nodes(kNames);
  for (void*& node : nodes)
    node = std::malloc(kNameSize + sizeof(void*));
  auto* list = static_cast<CompletionList*>(std::calloc(1, sizeof(CompletionList)));
  list->entries = static_cast<CompletionEntry**>(std::malloc(kNames * sizeof(CompletionEntry*)));
  for (; list->count < kNames; ++list->count) {
    auto* entry = static_cast<CompletionEntry*>(std::malloc(sizeof(CompletionEntry)));
    entry->name = static_cast<char*>(std::malloc(24));
    entry->help = static_cast<char*>(std::calloc(1, 1));
    list->entries[list->count] = entry;
  }
  for (void* node : nodes)
    std::free(node);
  release(list);
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void run_completion() {
  auto* hook = reinterpret_cast<KvelCompletionHook*>(symbol("classmap_completionhook"));
  static_cast<void>(all_names());
  std::vector<double> ours;
  std::vector<double> floor;
  for (int run = 0; run < kRuns; ++run) {
    ours.push_back(completion_time(hook));
    floor.push_back(allocation_time());
  }
  std::printf("%.0f %.0f\n", median(ours), median(floor));
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view mode = argc > 1 ? argv[1] : "";
  const long count = argc > 2 ? std::atol(argv[2]) : 0;
  struct Loop {
    std::string_view mode;
    void (*run)(long count);
  };
  constexpr std::array kLoops{Loop{"handler", run_handler},
                              Loop{"bare", run_bare},
                              Loop{"vip", run_vip},
                              Loop{"vip-bare", run_vip_bare},
                              Loop{"any", run_any},
                              Loop{"any-bare", run_any_bare},
                              Loop{"inline-http", run_inline_http},
                              Loop{"inline-http-bare", run_inline_http_bare},
                              Loop{"largest-record", run_largest_record},
                              Loop{"largest-record-bare", run_largest_record_bare}};
  const auto* loop =
      std::find_if(kLoops.begin(), kLoops.end(), [&](const Loop& candidate) { return candidate.mode == mode; });
  if (loop != kLoops.end()) {
    loop->run(count);
  } else if (mode == "completion") {
    run_completion();
  } else {
    return 2;
  }
  return checksum == 1 ? 1 : 0;
}
