#include "tests/fuzz/handler_host.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kvel/host.h"
#include "kvel/output.h"
#include "kvel/status.h"
#include "rpc/calls/call_table.h"
#include "rpc/client/arguments.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/plan_from_bytes.h"

namespace kvel::fuzz {
namespace {

constexpr std::int32_t kStatuses[] = {
#define KVEL_STATUS_VALUE(name, value, text) value,
    KVEL_STATUSES(KVEL_STATUS_VALUE)
#undef KVEL_STATUS_VALUE
        0x12345678,
    -5};
constexpr int kMostPages = 4;
constexpr std::size_t kNameWidth = 65;
constexpr std::size_t kLongestText = 255;
constexpr std::size_t kMostParameterBytes = 1024;

HandlerHost* host = nullptr;
char* output = nullptr;
std::size_t output_size = 0;

bool succeeded(std::int32_t status) { return status == KVEL_STATUS_ok || status == KVEL_STATUS_more_data; }

}  // namespace

HandlerHost::HandlerHost(FuzzedDataProvider& bytes) : bytes_(bytes) {
  static std::FILE* const kOutput = open_memstream(&output, &output_size);
  stdout = kOutput;
  std::rewind(stdout);
  host = this;
}

HandlerHost::~HandlerHost() {
  host = nullptr;
  for (const auto& [holder, state] : holders_)
    invariant(state == HolderState::failed, "a response holder is released");
}

HandlerHost& HandlerHost::current() { return *host; }

std::string HandlerHost::printed() const {
  std::fflush(stdout);
  return {output, static_cast<std::size_t>(std::ftell(stdout))};
}

std::int32_t HandlerHost::bind(std::int32_t service) {
  invariant(service == TNRPC_SERVICE_CLASSIFICATION, "the client is bound to the classification manager");
  invariant(++binds == 1, "the client is bound once");
  const std::int32_t status = bytes_.ConsumeBool() ? 0 : bytes_.PickValueInArray(kStatuses);
  bind_failed_ = status != 0;
  return status;
}

std::int32_t HandlerHost::call(const char* name, std::int32_t count, std::va_list arguments) {
  ++calls;
  invariant(!bind_failed_, "nothing is called when the client is not bound", name);
  const std::size_t index = rpc::find_call(name);
  invariant(index != rpc::kNoCall, "the call is in the call table", name);
  const rpc::CallRow& row = rpc::kCalls[index];
  invariant(count >= 0 && static_cast<std::size_t>(count) == row.count, "a call has the arguments of its row", name);
  rpc::CallArguments read;
  invariant(rpc::read_arguments(row, arguments, read), "the arguments fit the row", name);

  const std::int32_t status = bytes_.ConsumeBool() ? 0 : bytes_.PickValueInArray(kStatuses);
  if (!succeeded(status)) ++failed_calls;
  for (std::size_t at = 0; at < row.count; ++at) {
    const rpc::Argument& argument = read.values[at];
    if (argument.type == rpc::ArgType::string)
      invariant(argument.text.size() <= kLongestText, "a text keeps to the widest field", name);
    if (argument.type != rpc::ArgType::buffer) continue;
    // Written in full, so that a buffer that is shorter than its stated size is noticed.
    unsigned sum = 0;
    for (const std::byte byte : argument.bytes)
      sum += std::to_integer<unsigned>(byte);
    if (row.shapes[at].is_returned()) std::memset(argument.bytes.data(), sum % 2 == 0 ? 0 : 'x', argument.bytes.size());
  }
  if (read.holder == nullptr) return status;

  const auto found = holders_.find(read.holder);
  invariant(found != holders_.end() && found->second == HolderState::prepared, "a response holder is prepared", name);
  const bool is_last = !succeeded(status) || calls >= kMostPages || bytes_.ConsumeBool();
  for (std::size_t at = row.count; at-- > 0;) {
    if (row.shapes[at].type != rpc::ArgType::buffer) continue;
    const auto more = read.values[at].bytes;  // the last buffer of every call that has a response
    std::memset(more.data(), is_last ? 0 : 1, more.size());
    break;
  }
  if (!succeeded(status)) {
    found->second = HolderState::failed;
    return status;
  }
  found->second = HolderState::filled;
  const std::string response = response_to(name, read.values[2].number != 0);
  read.holder->length = static_cast<std::int32_t>(response.size());
  read.holder->data = response.empty() ? nullptr : std::malloc(response.size());
  if (!response.empty()) std::memcpy(read.holder->data, response.data(), response.size());
  return status;
}

std::string HandlerHost::response_to(std::string_view call, bool detail) {
  if (call == "cm_show_service_policy") {
    // No class goes on from an earlier page: whoever cuts a stream knows which ones do, see statistics_pages.
    static std::uint64_t page = 0;
    const std::string of_this_page = std::to_string(++page) + "-";
    auto plan = any_plan(bytes_);
    plan.detail = detail;
    for (auto& planned : plan.classes)
      planned.name = of_this_page + planned.name.substr(0, 40);
    return cli::test::stream::page_of(plan, cli::test::stream::class_groups(plan));
  }
  if (call == "cm_show_parameter_map") return bytes_.ConsumeRandomLengthString(kMostParameterBytes);
  std::string page;
  for (auto left = bytes_.ConsumeIntegralInRange<int>(0, 3); left > 0; --left) {
    std::string name = bytes_.ConsumeRandomLengthString(kNameWidth);
    name.resize(kNameWidth);
    names.emplace_back(name.substr(0, kNameWidth - 1).c_str());
    page += name;
  }
  page += bytes_.ConsumeRandomLengthString(kNameWidth - 1);  // the beginning of a name is none
  if (page.empty()) is_list_whole = false;
  return page;
}

void HandlerHost::prepare(TnrpcResponse* holder) {
  const auto found = holders_.find(holder);
  invariant(found == holders_.end() || found->second == HolderState::failed,
            "a holder is released before it is used again");
  holders_[holder] = HolderState::prepared;
  *holder = {0, nullptr};
}

void HandlerHost::release(TnrpcResponse* holder) {
  const auto found = holders_.find(holder);
  invariant(found != holders_.end() && found->second != HolderState::prepared, "what is released came from a call");
  if (found->second == HolderState::filled) std::free(holder->data);
  holders_.erase(found);
}

}  // namespace kvel::fuzz

using kvel::fuzz::HandlerHost;

std::int32_t tnrpc_clnt_init(std::int32_t service) { return HandlerHost::current().bind(service); }

std::int32_t tnrpc_call(const char* name, std::int32_t nargs, ...) {
  std::va_list arguments;
  va_start(arguments, nargs);
  const std::int32_t status = HandlerHost::current().call(name, nargs, arguments);
  va_end(arguments);
  return status;
}

void tnrpc_init_resp(TnrpcResponse* response) { HandlerHost::current().prepare(response); }

void tnrpc_free(TnrpcResponse* response) { HandlerHost::current().release(response); }

// Holds a conversion, which must come out as it is.
const char* syserr2str(std::int32_t) { return "100%d of %s"; }

std::int32_t vsh_platform_specific_rule_domain_check_valid(std::int32_t domain, const char* name, std::uint32_t) {
  kvel::fuzz::invariant(domain >= KVEL_DOMAIN_POLICY_MAP && domain <= KVEL_DOMAIN_PARAMETER_MAP,
                        "a rule domain is one of the four");
  kvel::fuzz::invariant(std::strlen(name) <= 64, "an object name keeps to its field");
  return HandlerHost::current().choice() ? 1 : 0;
}

std::int32_t vsh_platform_matched_rule_modify_check(std::uint32_t) { return HandlerHost::current().choice() ? 1 : 0; }

void xprint_header(const char* tag) { std::printf("%s\n", tag != nullptr ? tag : "null"); }

void xprint_footer(const char* tag) { std::printf("%s\n", tag != nullptr ? tag : "null"); }

void xprint(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  if (std::strstr(format, "<%") != nullptr) std::printf("%s ", va_arg(values, const char*));
  std::vprintf(format, values);
  va_end(values);
}

char* xmltag(char* buffer, std::int32_t count, ...) {
  std::memset(buffer, 'x', 64 * static_cast<std::size_t>(count) - 1);
  buffer[64 * count - 1] = '\0';
  return buffer;
}
