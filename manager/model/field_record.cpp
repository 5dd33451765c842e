#include "manager/model/field_record.h"

#include <arpa/inet.h>

#include <limits>

#include "manager/model/json_text.h"

namespace kvel::manager {

using Json = nlohmann::json;

void append_value(std::string& out, std::uint32_t number) { fmt::format_to(std::back_inserter(out), "{}", number); }
void append_value(std::string& out, bool flag) { out += flag ? "true" : "false"; }
void append_value(std::string& out, const std::string& text) { append_json_string(out, text); }
void append_value(std::string& out, HttpDirection direction) {
  out += direction == HttpDirection::request ? R"("request")" : R"("response")";
}
void append_value(std::string& out, Ipv4 address) {
  const std::uint32_t word = address.word;
  fmt::format_to(std::back_inserter(out), R"("{}.{}.{}.{}")", word >> 24U, (word >> 16U) & 0xffU, (word >> 8U) & 0xffU,
                 word & 0xffU);
}

bool read_value(const Json& json, std::uint32_t& number) {
  if (!json.is_number_unsigned() || json.get<std::uint64_t>() > std::numeric_limits<std::uint32_t>::max()) return false;
  number = json.get<std::uint32_t>();
  return true;
}
bool read_value(const Json& json, bool& flag) {
  if (!json.is_boolean()) return false;
  flag = json.get<bool>();
  return true;
}
bool read_value(const Json& json, std::string& text) {
  if (!json.is_string()) return false;
  text = json.get<std::string>();
  return true;
}
bool read_value(const Json& json, HttpDirection& direction) {
  if (json != "request" && json != "response") return false;
  direction = json == "request" ? HttpDirection::request : HttpDirection::response;
  return true;
}
bool read_value(const Json& json, Ipv4& address) {
  in_addr parsed{};
  if (!json.is_string() || ::inet_pton(AF_INET, json.get_ref<const std::string&>().c_str(), &parsed) != 1) return false;
  address.word = ntohl(parsed.s_addr);
  return true;
}

}  // namespace kvel::manager
