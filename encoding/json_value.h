// JSON texts read: a document, and views of the values in it. The library that parses them is not part of this header.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>
#include <vector>

namespace kvel::encoding {

struct JsonMember;

// One value; a view, which lasts as long as a document that it is in.
class JsonValue {
 public:
  JsonValue();  // null

  [[nodiscard]] bool is_object() const;
  [[nodiscard]] bool is_array() const;

  // What a value of these types is; nothing for one of any other. A number is whole, not below 0, and written so.
  [[nodiscard]] std::optional<std::uint64_t> number() const;
  [[nodiscard]] std::optional<bool> flag() const;
  [[nodiscard]] const std::string* text() const;

  // Whether it is this number, in whatever way it is written: 1.0 and 1e0 are 1.
  [[nodiscard]] bool is_same_number(std::uint64_t number) const;

  // The member of that name; nothing when it has none, as whatever is no object. Of several the last.
  [[nodiscard]] std::optional<JsonValue> find(std::string_view name) const;
  // Of an object, in the order of their names; of an array. Of anything else none.
  [[nodiscard]] std::vector<JsonMember> members() const;
  [[nodiscard]] std::vector<JsonValue> elements() const;

  // The value as JSON, for a message.
  [[nodiscard]] std::string dump() const;

 private:
  friend class JsonDocument;
  explicit JsonValue(const nlohmann::json& value) : value_(&value) {}

  const nlohmann::json* value_;
};

struct JsonMember {
  std::string_view name;
  JsonValue value;
};

enum class JsonFault : std::uint8_t {
  malformed,        // also when a text in it is not well-formed UTF-8
  nested_too_deep,  // arrays and objects in one another
};

// A JSON text that was read. Copies share what they hold.
class JsonDocument {
 public:
  // `max_depth` bounds the functions that call themselves once for each level.
  [[nodiscard]] static tl::expected<JsonDocument, JsonFault> parse(std::string_view text, std::size_t max_depth);

  [[nodiscard]] JsonValue root() const { return JsonValue(*root_); }

 private:
  explicit JsonDocument(std::shared_ptr<const nlohmann::json> root) : root_(std::move(root)) {}

  std::shared_ptr<const nlohmann::json> root_;
};

}  // namespace kvel::encoding
