// Every handler and every completion hook of the plug-in with any command. A handler makes at most one backend call,
// and binds the client before it; the call fits the call table; it returns 0, 1 or 255; it prints whole lines, at most
// one (and one for each setting that is not supported); a command whose call failed fails with a message, one whose
// call succeeded succeeds without one. Nothing is read beyond the tokens that count, in the tokens' reserved words, or
// after a text or number. The show handlers make a call for each page. A hook reads the command's
// context only, and lists exactly the names of its pages.
#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kvel/keywords.h"
#include "kvel/plugin.h"
#include "tests/fuzz/handler_host.h"
#include "tests/fuzz/invariant.h"

namespace {

using kvel::fuzz::HandlerHost;
using kvel::fuzz::invariant;

struct NamedHandler {
  const char* name;
  KvelHandler* run;
};
struct NamedHook {
  const char* name;
  KvelCompletionHook* run;
};

// Made of include/kvel/plugin.h by CMakeLists.txt.
constexpr NamedHandler kHandlers[] = {
#define KVEL_FUZZ_HANDLER(name) {#name, name},
#define KVEL_FUZZ_HOOK(name)
#include "plugin_functions.inc"
#undef KVEL_FUZZ_HANDLER
#undef KVEL_FUZZ_HOOK
};
constexpr NamedHook kHooks[] = {
#define KVEL_FUZZ_HANDLER(name)
#define KVEL_FUZZ_HOOK(name) {#name, name},
#include "plugin_functions.inc"
#undef KVEL_FUZZ_HANDLER
#undef KVEL_FUZZ_HOOK
};
static_assert(std::size(kHandlers) == 73 && std::size(kHooks) == 19);

constexpr std::uint32_t kKeywords[] = {
#define KVEL_KEYWORD_ID(name, id) id,
    KVEL_KEYWORDS(KVEL_KEYWORD_ID) KVEL_SERVICE_POLICY_KEYWORDS(KVEL_KEYWORD_ID)
#undef KVEL_KEYWORD_ID
};

constexpr std::uint32_t kNumbers[] = {0,          1,          2,          79,         80,        65535,      65536,
                                      0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF, 167772161, 0xFFFFFF00, 4094};
constexpr const char* kTexts[] = {"", "web", "#web", "class-default", "a b", "x-header", "%s%n", "\xC3\xA4"};
constexpr std::size_t kLongText = 300;
constexpr char kNotSupported[] = "Not supported as yet.\n";

// A block of exactly `size` bytes.
using Block = std::unique_ptr<char[]>;
Block block_of(const std::string& bytes) {
  Block block(new char[bytes.size()]);
  std::memcpy(block.get(), bytes.data(), bytes.size());
  return block;
}

// A command in memory that may be read only where a handler may read it.
class Command {
 public:
  Command(FuzzedDataProvider& bytes, bool only_context) {
    command_.negated = bytes.ConsumeBool() ? bytes.ConsumeIntegralInRange<std::uint32_t>(0, 2) : 0;
    command_.skip_execution = bytes.ConsumeIntegralInRange<std::uint32_t>(0, 7) == 7 ? 1 : 0;
    command_.command_id = bytes.ConsumeBool() ? 0 : bytes.ConsumeIntegral<std::uint16_t>();
    command_.context_id = bytes.ConsumeIntegral<std::int16_t>();
    command_.session_id = bytes.ConsumeIntegral<std::uint32_t>();
    const bool is_long = bytes.ConsumeIntegralInRange<std::uint32_t>(0, 15) == 15;
    command_.token_count = bytes.ConsumeIntegralInRange<std::uint8_t>(0, is_long ? KVEL_MAX_TOKENS : 12);
    for (std::size_t index = 0; index < command_.token_count; ++index)
      command_.tokens[index] = add_token(bytes);
    forbid(&command_.tokens[command_.token_count], (KVEL_MAX_TOKENS - command_.token_count) * sizeof(CliToken*));
    if (only_context) forbid(&command_, offsetof(CliCommand, context_id));
  }
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;
  ~Command() {
    ASAN_UNPOISON_MEMORY_REGION(&command_, sizeof command_);
    for (const auto& token : tokens_)
      ASAN_UNPOISON_MEMORY_REGION(token.get(), sizeof(CliToken));
  }

  [[nodiscard]] const CliCommand* get() const { return &command_; }

 private:
  static void forbid(const void* start, std::size_t size) { ASAN_POISON_MEMORY_REGION(start, size); }

  const CliToken* add_token(FuzzedDataProvider& bytes) {
    auto& token = tokens_.emplace_back(std::make_unique<CliToken>());
    token->keyword_id = bytes.ConsumeIntegralInRange<std::uint32_t>(0, 15) == 15
                            ? bytes.ConsumeIntegral<std::uint32_t>()
                            : bytes.PickValueInArray(kKeywords);
    token->text = add_value(bytes);
    forbid(&token->reserved, sizeof token->reserved);
    return token.get();
  }

  // Whether a keyword takes a number or a text is the handler's to know, so that each value can be read as both.
  const void* add_value(FuzzedDataProvider& bytes) {
    std::string value;
    switch (bytes.ConsumeIntegralInRange<int>(0, 4)) {
      case 0:
        return nullptr;
      case 1: {
        const auto number =
            bytes.ConsumeBool() ? bytes.PickValueInArray(kNumbers) : bytes.ConsumeIntegral<std::uint32_t>();
        value.assign(reinterpret_cast<const char*>(&number), sizeof number);
        break;
      }
      case 2:
        value = bytes.ConsumeRandomLengthString(kLongText);
        break;
      case 3:
        value.assign(bytes.ConsumeIntegralInRange<std::size_t>(60, kLongText), 'n');
        break;
      default:
        value = bytes.PickValueInArray(kTexts);
    }
    // A line end in a name would be one in a message; the shell's words have none.
    std::replace(value.begin(), value.end(), '\n', '_');
    value.resize(std::max(value.size(), sizeof(std::uint32_t) - 1));
    value.push_back('\0');
    return values_.emplace_back(block_of(value)).get();
  }

  CliCommand command_{};
  std::vector<std::unique_ptr<CliToken>> tokens_;
  std::vector<Block> values_;
};

std::size_t take_away(std::string& text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part)) {
    text.erase(at, part.size());
    ++count;
  }
  return count;
}

void run_handler(const NamedHandler& handler, FuzzedDataProvider& bytes) {
  const Command command(bytes, false);
  HandlerHost host(bytes);
  const std::int32_t result = handler.run(command.get());
  invariant(result == 0 || result == 1 || result == 255, "a handler returns 0, 1 or 255", handler.name);
  const bool shows = handler.run == kvelparammap_show_parammap || handler.run == kvelpolicymap_show_servicepolicy;
  if (shows) {
    invariant((result == 0) == (host.calls > 0 && host.failed_calls == 0), "what is shown is shown whole",
              handler.name);
    return;
  }
  invariant(host.calls <= 1, "a handler makes one call at most", handler.name);
  std::string printed = host.printed();
  invariant(printed.empty() || printed.back() == '\n', "a handler prints whole lines", handler.name);
  const std::size_t unsupported = take_away(printed, kNotSupported);
  invariant(unsupported == 0 || (handler.run == kvelparammap_config_conn && unsupported <= KVEL_MAX_TOKENS),
            "only settings of connections are unsupported", handler.name);
  const auto lines = std::count(printed.begin(), printed.end(), '\n');
  invariant(lines <= 1, "a handler prints one line at most", printed);
  if (host.failed_calls != 0) invariant(result != 0 && lines == 1, "a failed call is reported", handler.name);
  if (host.calls != 0 && host.failed_calls == 0) {
    invariant(result == 0, "a command whose call succeeded succeeds", handler.name);
    invariant(lines == 0, "a command that was carried out is silent", printed);
  }
}

void run_hook(const NamedHook& hook, FuzzedDataProvider& bytes) {
  const Command command(bytes, true);
  HandlerHost host(bytes);
  CompletionList* list = hook.run(bytes.ConsumeIntegralInRange<std::uint32_t>(0, 4), command.get());
  invariant(host.printed().empty(), "a hook prints nothing", hook.name);
  if (list == nullptr) {
    const bool is_missing = host.calls == 0 || host.failed_calls != 0 || !host.is_list_whole || host.names.empty();
    invariant(is_missing, "a hook lists the names that it gets", hook.name);
    return;
  }
  invariant(host.failed_calls == 0 && host.is_list_whole && list->reserved == 0, "a list is of whole pages", hook.name);
  invariant(list->count == host.names.size(), "a list has every name once", hook.name);
  for (std::uint32_t index = 0; index < list->count; ++index) {
    CompletionEntry* entry = list->entries[index];
    invariant(entry->name == host.names[index] && *entry->help == '\0', "a list has the names in their order",
              hook.name);
    std::free(entry->name);
    std::free(entry->help);
    std::free(entry);
  }
  std::free(list->entries);
  std::free(list);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  const auto which = bytes.ConsumeIntegralInRange<std::size_t>(0, std::size(kHandlers) + std::size(kHooks) - 1);
  if (which < std::size(kHandlers)) {
    run_handler(kHandlers[which], bytes);
  } else {
    run_hook(kHooks[which - std::size(kHandlers)], bytes);
  }
  return 0;
}
