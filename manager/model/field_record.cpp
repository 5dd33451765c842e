#include "manager/model/field_record.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <limits>

#include "manager/model/address_format.h"

namespace kvel::manager {
namespace {

using encoding::JsonValue;
using encoding::JsonWriter;

void write_value(JsonWriter& json, std::uint32_t number) { json.number(number); }
void write_value(JsonWriter& json, bool flag) { json.flag(flag); }
void write_value(JsonWriter& json, const std::string& text) { json.text(text); }
void write_value(JsonWriter& json, const Expression& expression) { json.text(expression.text()); }
void write_value(JsonWriter& json, HttpDirection direction) {
  json.text(direction == HttpDirection::request ? "request" : "response");
}
void write_value(JsonWriter& json, Ipv4 address) { json.text(fmt::format("{}", address)); }

bool read_value(JsonValue json, std::uint32_t& number) {
  const auto word = read_word(json);
  if (word) number = *word;
  return word.has_value();
}
bool read_value(JsonValue json, bool& flag) {
  const auto read = json.flag();
  if (read) flag = *read;
  return read.has_value();
}
bool read_value(JsonValue json, std::string& text) {
  const std::string* read = json.text();
  if (read != nullptr) text = *read;
  return read != nullptr;
}
bool read_value(JsonValue json, Expression& expression) {
  const std::string* read = json.text();
  if (read != nullptr) expression = Expression(*read);
  return read != nullptr;
}
bool read_value(JsonValue json, HttpDirection& direction) {
  const std::string* word = json.text();
  if (word == nullptr || (*word != "request" && *word != "response")) return false;
  direction = *word == "request" ? HttpDirection::request : HttpDirection::response;
  return true;
}
bool read_value(JsonValue json, Ipv4& address) {
  const std::string* text = json.text();
  in_addr parsed{};
  if (text == nullptr || ::inet_pton(AF_INET, text->c_str(), &parsed) != 1) return false;
  address.word = ntohl(parsed.s_addr);
  return true;
}

void write_field(JsonWriter& json, const FieldToWrite& field) {
  std::visit(
      [&]<class Value>(const Value* value) {
        if (field.presence == Presence::unless_default && *value == Value{}) return;
        json.name(field.name);
        write_value(json, *value);
      },
      field.value);
}

bool read_field(JsonValue json, const FieldToRead& field) {
  return std::visit([&](auto* value) { return read_value(json, *value); }, field.value);
}

}  // namespace

void write_fields(JsonWriter& json, std::initializer_list<FieldToWrite> fields) {
  for (const FieldToWrite& field : fields)
    write_field(json, field);
}

tl::expected<void, std::string> read_fields(JsonValue json, std::initializer_list<FieldToRead> fields) {
  for (const FieldToRead& field : fields) {
    const auto member = json.find(field.name);
    if (member && !read_field(*member, field)) {
      return tl::unexpected(fmt::format("its {} cannot be {}", field.name, member->dump()));
    }
  }
  return {};
}

std::optional<std::uint32_t> read_word(JsonValue json) {
  const auto number = json.number();
  if (!number || *number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

namespace detail {

tl::expected<std::string_view, std::string> read_kind(JsonValue json, std::string_view kind_member) {
  const auto member = json.find(kind_member);
  const std::string* kind = member ? member->text() : nullptr;
  if (kind == nullptr) return tl::unexpected<std::string>("it has no kind");
  return *kind;
}

std::string no_such_kind(std::string_view category, std::string_view kind) {
  return fmt::format("there are no {} of the kind {:?}", category, kind);
}

}  // namespace detail

}  // namespace kvel::manager
