#include "shell/session/intended_call.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "kvel/host.h"
#include "rpc/calls/call_table.h"
#include "wire/big_endian.h"

namespace kvel::shell {

namespace {

constexpr std::size_t kNowhere = rpc::kMaxArguments;

// A call that makes an object or looks it up, and where its arguments are.
struct EntryCall {
  std::size_t call;
  std::uint32_t kind;
  std::size_t session, name, type, setting, add, created;
};

constexpr std::array kEntryCalls{
    EntryCall{rpc::find_call("cm_add_or_lookup_classmap"), KVEL_DOMAIN_CLASS_MAP, 1, 4, 2, 3, 5, 6},
    EntryCall{rpc::find_call("cm_add_or_lookup_pmap_by_name"), KVEL_DOMAIN_POLICY_MAP, 1, 2, 3, 4, 5, 6},
    EntryCall{rpc::find_call("cm_param_map_add_or_lookup"), KVEL_DOMAIN_PARAMETER_MAP, 1, 3, 4, kNowhere, 2, 5},
    EntryCall{rpc::find_call("cm_add_or_lookup_ssl_proxy"), KVEL_DOMAIN_SSL_PROXY, kNowhere, 1, kNowhere, kNowhere, 2,
              kNowhere},
};
static_assert(std::all_of(kEntryCalls.begin(), kEntryCalls.end(),
                          [](const EntryCall& row) { return row.call != rpc::kNoCall; }));

constexpr std::size_t kEnterCall = rpc::find_call("kvel_enter_object");
constexpr std::size_t kChangeCall = rpc::find_call("cm_param_map_config");
constexpr std::size_t kChangeAndKeepCall = rpc::find_call("kvel_change_parameter_map");
static_assert(kEnterCall != rpc::kNoCall && kChangeCall != rpc::kNoCall && kChangeAndKeepCall != rpc::kNoCall);
static_assert(rpc::kCalls[kChangeAndKeepCall].count == rpc::kCalls[kChangeCall].count + 1);

rpc::Argument number_argument(rpc::ArgType type, std::uint32_t value) {
  rpc::Argument argument;
  argument.type = type;
  argument.number = value;
  return argument;
}

rpc::Argument text_argument(std::string_view value) {
  rpc::Argument argument;
  argument.type = rpc::ArgType::string;
  argument.text = value;
  return argument;
}

rpc::Argument buffer_argument(std::span<std::byte> bytes) {
  rpc::Argument argument;
  argument.type = rpc::ArgType::buffer;
  argument.bytes = bytes;
  return argument;
}

std::uint32_t number_at(std::span<const rpc::Argument> arguments, std::size_t place) {
  return place == kNowhere ? 0 : arguments[place].number;
}

}  // namespace

std::optional<Status> IntendedCall::make(rpc::Channel& channel, std::size_t call,
                                         std::span<const rpc::Argument> arguments) {
  if (intent_.enters) return enter(channel, call, arguments);
  if (intent_.kept_fields == 0 || call != kChangeCall) return std::nullopt;
  std::array<rpc::Argument, rpc::kCalls[kChangeAndKeepCall].count> changed;
  std::copy(arguments.begin(), arguments.end(), changed.begin());
  changed.back() = number_argument(rpc::ArgType::u32, intent_.kept_fields);
  return channel.call(kChangeAndKeepCall, changed);
}

std::optional<Status> IntendedCall::enter(rpc::Channel& channel, std::size_t call,
                                          std::span<const rpc::Argument> arguments) {
  const auto* row =
      std::find_if(kEntryCalls.begin(), kEntryCalls.end(), [call](const EntryCall& each) { return each.call == call; });
  if (row == kEntryCalls.end() || number_at(arguments, row->add) != 1) return std::nullopt;
  std::array<std::byte, 20> identity{};
  const std::array entry{arguments[0],
                         number_argument(rpc::ArgType::session, number_at(arguments, row->session)),
                         number_argument(rpc::ArgType::u32, row->kind),
                         text_argument(arguments[row->name].text),
                         number_argument(rpc::ArgType::u8, number_at(arguments, row->type)),
                         number_argument(rpc::ArgType::u8, number_at(arguments, row->setting)),
                         number_argument(rpc::ArgType::u8, intent_.only_named ? 0 : 1),
                         buffer_argument(identity)};
  const Status status = channel.call(kEnterCall, entry);
  if (status == Status::unknown_call) return std::nullopt;
  if (!succeeded(status)) return status;
  const auto word = [&](std::size_t at) { return wire::read_word<std::uint32_t>(&identity[at]); };
  entered_ =
      EnteredObject{{word(0), word(4), number_at(arguments, row->type), 0}, word(8) == 1, word(12) == 1, word(16)};
  if (row->created != kNowhere) std::memcpy(arguments[row->created].bytes.data(), &identity[8], 4);
  return status;
}

}  // namespace kvel::shell
