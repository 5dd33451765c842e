#include "manager/traffic/flow_reader.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <limits>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>

#include "encoding/utf8.h"
#include "manager/model/application.h"
#include "manager/traffic/flow_words.h"

namespace kvel::manager {
namespace {

using Json = nlohmann::json;
using Refusal = tl::unexpected<std::string>;

constexpr std::size_t kMaxListed = 1000;  // headers of a message, access lists of a flow

// The start of a text, for a message.
std::string in_quotes(std::string_view text) {
  constexpr std::size_t kShown = 60;
  return fmt::format("{:?}{}", encoding::beginning_of(text, kShown), text.size() > kShown ? "..." : "");
}

// The objects and arrays that a flow consists of.
enum class Place : std::uint8_t {
  outside,
  flow,
  access_lists,
  http,
  headers,
  response_headers,
  misuse,
  ftp,
  dns,
};

// How a message names what a place holds.
constexpr std::string_view path_of(Place place) {
  switch (place) {
    case Place::access_lists:
      return "access_lists";
    case Place::http:
      return "http";
    case Place::headers:
      return "http.headers";
    case Place::response_headers:
      return "http.response_headers";
    case Place::misuse:
      return "http.misuse";
    case Place::ftp:
      return "ftp";
    case Place::dns:
      return "dns";
    case Place::outside:
    case Place::flow:
      break;
  }
  return {};
}
constexpr Place outer(Place place) {
  switch (place) {
    case Place::headers:
    case Place::response_headers:
    case Place::misuse:
      return Place::http;
    case Place::outside:
    case Place::flow:
      return Place::outside;
    case Place::access_lists:
    case Place::http:
    case Place::ftp:
    case Place::dns:
      break;
  }
  return Place::flow;
}

// A member of an object with what it takes: a number, a text, a flag, or what has a place of its own.
struct Member {
  Place place = Place::flow;
  std::string_view name;
  std::string_view wanted;
  std::uint64_t low = 0;
  std::uint64_t high = 0;
  void (*set_number)(Flow&, std::uint64_t) = nullptr;
  // Returns what is wrong with the text, as the end of a sentence; nothing when it is taken.
  std::string (*set_text)(Flow&, std::string&) = nullptr;
  void (*set_flag)(Flow&, bool) = nullptr;
  Place object = Place::outside;
  Place array = Place::outside;
  void (*begin)(Flow&) = nullptr;
};

using SetNumber = void (*)(Flow&, std::uint64_t);
using SetText = std::string (*)(Flow&, std::string&);

constexpr Member number(Place place, std::string_view name, std::uint64_t low, std::uint64_t high, SetNumber set) {
  return {.place = place, .name = name, .wanted = "a whole number", .low = low, .high = high, .set_number = set};
}
constexpr Member text(Place place, std::string_view name, SetText set) {
  return {.place = place, .name = name, .wanted = "a text", .set_text = set};
}
constexpr Member object(Place place, std::string_view name, Place content, void (*begin)(Flow&)) {
  return {.place = place, .name = name, .wanted = "an object", .object = content, .begin = begin};
}
constexpr Member array(Place place, std::string_view name, Place content) {
  return {.place = place, .name = name, .wanted = "an array of texts", .array = content};
}

std::string read_address(Flow& flow, const std::string& text, std::string_view member, Ipv4& address) {
  std::array<unsigned char, sizeof(in6_addr)> parsed{};
  const bool whole = text.find('\0') == std::string::npos;
  if (whole && ::inet_pton(AF_INET, text.c_str(), parsed.data()) == 1) {
    for (std::size_t octet = 0; octet < 4; ++octet)
      address.word = address.word << 8U | parsed[octet];
    return {};
  }
  if (!whole || ::inet_pton(AF_INET6, text.c_str(), parsed.data()) != 1) return "is no address";
  if (flow.unclassifiable.empty()) flow.unclassifiable = fmt::format("its {} is an IPv6 address", member);
  return {};
}

std::string read_protocol(Flow& flow, std::string& name) {
  if (const auto known = protocol_of(name)) {
    flow.protocol = *known;
  } else if (flow.unclassifiable.empty()) {
    flow.unclassifiable = fmt::format("its protocol {} is not known", in_quotes(name));
  }
  return {};
}

std::string read_event(Flow& flow, std::string& event) {
  if (event == "open") {
    flow.event = FlowEvent::open;
  } else if (event == "close") {
    flow.event = FlowEvent::close;
  } else {
    return R"(is neither "open" nor "close")";
  }
  return {};
}

constexpr std::uint64_t kMax16 = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint64_t kMax32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kMax64 = std::numeric_limits<std::uint64_t>::max();

template <auto Part>
constexpr SetNumber count_of() {
  return [](Flow& flow, std::uint64_t number) {
    auto& count = flow.traffic.*Part;
    count = static_cast<std::remove_reference_t<decltype(count)>>(number);
  };
}

constexpr std::array kMembers{
    text(Place::flow, "source",
         [](Flow& flow, std::string& text) { return read_address(flow, text, "source", flow.source); }),
    text(Place::flow, "destination",
         [](Flow& flow, std::string& text) { return read_address(flow, text, "destination", flow.destination); }),
    Member{.place = Place::flow,
           .name = "protocol",
           .wanted = "a name or a number",
           .high = 255,
           .set_number = [](Flow& flow, std::uint64_t number) { flow.protocol = static_cast<std::uint8_t>(number); },
           .set_text = read_protocol},
    number(Place::flow, "source_port", 0, kMax16,
           [](Flow& flow, std::uint64_t port) { flow.source_port = static_cast<std::uint16_t>(port); }),
    number(Place::flow, "destination_port", 0, kMax16,
           [](Flow& flow, std::uint64_t port) { flow.destination_port = static_cast<std::uint16_t>(port); }),
    number(Place::flow, "vlan", 1, kMaxVlan,
           [](Flow& flow, std::uint64_t vlan) { flow.vlan = static_cast<std::uint32_t>(vlan); }),
    Member{.place = Place::flow,
           .name = "management",
           .wanted = "true or false",
           .set_flag = [](Flow& flow, bool flag) { flow.management = flag; }},
    text(Place::flow, "event", read_event),
    number(Place::flow, "client_packets", 0, kMax32, count_of<&FlowTraffic::client_packets>()),
    number(Place::flow, "server_packets", 0, kMax32, count_of<&FlowTraffic::server_packets>()),
    number(Place::flow, "client_bytes", 0, kMax64, count_of<&FlowTraffic::client_bytes>()),
    number(Place::flow, "server_bytes", 0, kMax64, count_of<&FlowTraffic::server_bytes>()),
    array(Place::flow, "access_lists", Place::access_lists),
    object(Place::flow, "http", Place::http, [](Flow& flow) { flow.http.emplace(); }),
    object(Place::flow, "ftp", Place::ftp, [](Flow& flow) { flow.ftp.emplace(); }),
    object(Place::flow, "dns", Place::dns, [](Flow& flow) { flow.dns.emplace(); }),
    text(Place::http, "method",
         [](Flow& flow, std::string& text) {
           flow.http->method_code = kRequestMethodWords.code_of(text);
           flow.http->method = std::move(text);
           return std::string();
         }),
    text(Place::http, "url",
         [](Flow& flow, std::string& text) {
           flow.http->url = std::move(text);
           return std::string();
         }),
    object(Place::http, "headers", Place::headers, nullptr),
    text(Place::http, "content",
         [](Flow& flow, std::string& text) {
           flow.http->content = std::move(text);
           return std::string();
         }),
    number(Place::http, "content_length", 0, kMax64,
           [](Flow& flow, std::uint64_t length) { flow.http->content_length = length; }),
    object(Place::http, "response_headers", Place::response_headers,
           [](Flow& flow) { flow.http->response_headers.emplace(); }),
    array(Place::http, "misuse", Place::misuse),
    text(Place::ftp, "command",
         [](Flow& flow, std::string& text) {
           flow.ftp->command_code = kFtpMethodWords.code_of(text);
           flow.ftp->command = std::move(text);
           return std::string();
         }),
    number(Place::dns, "length", 0, kMax32,
           [](Flow& flow, std::uint64_t length) { flow.dns->length = static_cast<std::uint32_t>(length); }),
};

constexpr std::size_t index_of(Place place, std::string_view name) {
  for (std::size_t index = 0; index < kMembers.size(); ++index) {
    if (kMembers[index].place == place && kMembers[index].name == name) return index;
  }
  return kMembers.size();
}

// Takes the pieces of a JSON text as they are read, puts each where it belongs, and stops at the first that does not.
class FlowBuilder final : public nlohmann::json_sax<Json> {
 public:
  [[nodiscard]] tl::expected<Flow, std::string> finish() && {
    if (fault_.empty()) complete();
    if (!fault_.empty()) return Refusal(std::move(fault_));
    return std::move(flow_);
  }

  bool null() override { return is_wrong("null"); }

  bool boolean(bool flag) override {
    if (member_ == nullptr || member_->set_flag == nullptr) return is_wrong(flag ? "true" : "false");
    member_->set_flag(flow_, flag);
    return take();
  }

  bool number_integer(std::int64_t number) override {  // below 0, or -0: others come as unsigned ones
    if (number == 0) return number_unsigned(0);
    if (!takes_number()) return is_wrong(fmt::to_string(number));
    return refuse("its {} {} is below {}", path(), number, member_->low);
  }

  bool number_unsigned(std::uint64_t number) override {
    if (!takes_number()) return is_wrong(fmt::to_string(number));
    if (number < member_->low) return refuse("its {} {} is below {}", path(), number, member_->low);
    if (number > member_->high) return refuse("its {} {} is above {}", path(), number, member_->high);
    member_->set_number(flow_, number);
    return take();
  }

  // With a fraction or an exponent, or too large for any member.
  bool number_float(double /*number*/, const std::string& digits) override {
    const bool is_whole = digits.find_first_not_of("-0123456789") == std::string::npos;
    if (takes_number() && is_whole && digits.front() != '-') {
      return refuse("its {} {:.40} is above {}", path(), digits, member_->high);
    }
    if (takes_number() && is_whole) return refuse("its {} {:.40} is below {}", path(), digits, member_->low);
    return is_wrong(fmt::format("{:.40}", digits));
  }

  bool string(std::string& text) override {
    switch (place_) {
      case Place::access_lists:
        flow_.access_lists.push_back(std::move(text));
        return flow_.access_lists.size() <= kMaxListed || refuse("it has more than {} access_lists", kMaxListed);
      case Place::headers:
      case Place::response_headers:
        headers().push_back({std::move(header_), std::move(text)});
        return true;
      case Place::misuse: {
        const auto code = kPortMisuseWords.code_of(text);
        if (!code) return refuse("its http.misuse {} is not known", in_quotes(text));
        auto& misuses = flow_.http->misuses;
        if (std::find(misuses.begin(), misuses.end(), *code) == misuses.end()) misuses.push_back(*code);
        return true;
      }
      default:
        break;
    }
    if (member_ == nullptr || member_->set_text == nullptr) return is_wrong(in_quotes(text));
    const std::string shown = in_quotes(text);
    const std::string wrong = member_->set_text(flow_, text);
    if (!wrong.empty()) return refuse("its {} {} {}", path(), shown, wrong);
    return take();
  }

  bool binary(binary_t& /*bytes*/) override { return is_wrong("bytes"); }  // not in JSON

  bool start_object(std::size_t /*elements*/) override {
    if (place_ == Place::outside) {
      place_ = Place::flow;
      return true;
    }
    if (member_ == nullptr || member_->object == Place::outside) return is_wrong("an object");
    if (member_->begin != nullptr) member_->begin(flow_);
    place_ = member_->object;
    return take();
  }

  bool key(std::string& name) override {
    if (place_ == Place::headers || place_ == Place::response_headers) return start_header(name);
    const std::size_t index = index_of(place_, name);
    if (index == kMembers.size()) {
      return place_ == Place::flow ? refuse("it has an unknown member {}", in_quotes(name))
                                   : refuse("its {} has an unknown member {}", path_of(place_), in_quotes(name));
    }
    member_ = &kMembers[index];
    if (given_[index]) return refuse("its {} is given twice", path());
    given_.set(index);
    return true;
  }

  bool end_object() override {
    place_ = outer(place_);
    return true;
  }

  bool start_array(std::size_t /*elements*/) override {
    if (member_ == nullptr || member_->array == Place::outside) return is_wrong("an array");
    place_ = member_->array;
    return take();
  }
  bool end_array() override {
    place_ = outer(place_);
    return true;
  }

  bool parse_error(std::size_t position, const std::string& /*last_token*/, const Json::exception& error) override {
    constexpr int kNumberTooLarge = 406;
    if (error.id == kNumberTooLarge) return refuse("it has a number that is far too large, before byte {}", position);
    return refuse("it is no JSON from byte {} on", position);
  }

 private:
  [[nodiscard]] bool takes_number() const { return member_ != nullptr && member_->set_number != nullptr; }
  // The member has its value.
  bool take() {
    member_ = nullptr;
    return true;
  }

  template <class... Parts>
  bool refuse(fmt::format_string<Parts...> format, Parts&&... parts) {
    fault_ = fmt::format(format, std::forward<Parts>(parts)...);
    return false;
  }

  // A value that does not fit its place.
  bool is_wrong(std::string_view value) {
    switch (place_) {
      case Place::outside:
        return refuse("it is no JSON object but {}", value);
      case Place::access_lists:
      case Place::misuse:
        return refuse("its {} must hold texts only, not {}", path_of(place_), value);
      case Place::headers:
      case Place::response_headers:
        return refuse("its {} member {} must be a text, not {}", path_of(place_), in_quotes(header_), value);
      default:
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): no value is in the other places without a member
        return refuse("its {} must be {}, not {}", path(), member_->wanted, value);
    }
  }

  // The name of the member as messages show it.
  [[nodiscard]] std::string path() const {
    const std::string_view before = path_of(member_->place);
    return before.empty() ? std::string(member_->name) : fmt::format("{}.{}", before, member_->name);
  }

  HttpHeaders& headers() { return place_ == Place::headers ? flow_.http->headers : *flow_.http->response_headers; }
  bool start_header(std::string& name) {
    if (headers().size() == kMaxListed) return refuse("its {} are more than {}", path_of(place_), kMaxListed);
    for (const HttpHeader& other : headers()) {
      if (is_same_token(other.name, name)) {
        return refuse("its {} member {} is given twice", path_of(place_), in_quotes(name));
      }
    }
    header_ = std::move(name);
    return true;
  }

  [[nodiscard]] bool has(std::string_view name) const { return given_[index_of(Place::flow, name)]; }

  // What only the whole flow shows.
  void complete() {
    for (const std::string_view name : {"source", "destination", "protocol"}) {
      if (!has(name)) return void(refuse("it has no {}", name));
    }
    for (const std::string_view name : {"source_port", "destination_port"}) {
      if (has_ports(flow_.protocol) && !has(name)) {
        return void(refuse("it has no {}, which protocol {} needs", name, flow_.protocol));
      }
    }
  }

  Flow flow_;
  std::string fault_;
  Place place_ = Place::outside;
  const Member* member_ = nullptr;  // whose value comes next
  std::string header_;              // likewise
  std::bitset<kMembers.size()> given_;
};

}  // namespace

bool is_blank(std::string_view line) { return line.find_first_not_of(" \t\r\n") == std::string_view::npos; }

tl::expected<Flow, std::string> read_flow(std::string_view line) {
  // The parser would take it for the end.
  if (const std::size_t at = line.find('\0'); at != std::string_view::npos) {
    return Refusal(fmt::format("it is no JSON from byte {} on", at + 1));
  }
  FlowBuilder builder;
  (void)Json::sax_parse(line, &builder);
  return std::move(builder).finish();
}

}  // namespace kvel::manager
