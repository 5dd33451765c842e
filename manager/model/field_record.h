// Writes and reads the fields of rules and actions as members of JSON objects. Each describes its fields; how each type
// of field is written and read is compiled once.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>
#include <variant>

#include "encoding/json_value.h"
#include "encoding/json_writer.h"
#include "manager/model/address.h"
#include "manager/model/expression.h"
#include "manager/model/field.h"

namespace kvel::manager {

// A field with its value, and with the place where that is to be put.
struct FieldToWrite {
  std::string_view name;
  Presence presence;
  std::variant<const std::uint32_t*, const bool*, const std::string*, const Expression*, const HttpDirection*,
               const Ipv4*>
      value;
};
struct FieldToRead {
  std::string_view name;
  std::variant<std::uint32_t*, bool*, std::string*, Expression*, HttpDirection*, Ipv4*> value;
};

// Writes the members into the object that is open.
void write_fields(encoding::JsonWriter& json, std::initializer_list<FieldToWrite> fields);
template <class Owner>
void write_fields(encoding::JsonWriter& json, const Owner& owner) {
  Owner::fields([&](const auto&... field) {
    write_fields(json, {{field.name, field.presence, &(owner.*field.member)}...});
  });
}

// Reads what members there are, or reports which cannot be read. A field without one keeps its default: whoever reads
// compares the whole with what would be written.
[[nodiscard]] tl::expected<void, std::string> read_fields(encoding::JsonValue json,
                                                          std::initializer_list<FieldToRead> fields);
template <class Owner>
[[nodiscard]] tl::expected<void, std::string> read_fields(encoding::JsonValue json, Owner& owner) {
  return Owner::fields([&](const auto&... field) {
    return read_fields(json, {{field.name, &(owner.*field.member)}...});
  });
}

// The number that a value of 32 bits is; nothing when it is none.
[[nodiscard]] std::optional<std::uint32_t> read_word(encoding::JsonValue json);

namespace detail {

// What there is to one of the kinds of a KindVariant.
template <class Variant>
struct Kind {
  std::string_view name;
  void (*write)(encoding::JsonWriter& json, const Variant& value);                    // which is of this kind
  tl::expected<void, std::string> (*read)(encoding::JsonValue json, Variant& value);  // replaced by one of this kind
};

template <class Variant, std::size_t Index>
constexpr Kind<Variant> kind_at() {
  return {std::variant_alternative_t<Index, typename Variant::Variant>::kKind,
          [](encoding::JsonWriter& json, const Variant& value) { write_fields(json, *std::get_if<Index>(&value)); },
          [](encoding::JsonValue json, Variant& value) { return read_fields(json, value.template emplace<Index>()); }};
}

template <class Variant>
inline constexpr auto kKinds = []<std::size_t... Index>(std::index_sequence<Index...> /*all*/) {
  return std::array{kind_at<Variant, Index>()...};
}
(std::make_index_sequence<Variant::kKinds>{});

[[nodiscard]] tl::expected<std::string_view, std::string> read_kind(encoding::JsonValue json,
                                                                    std::string_view kind_member);
[[nodiscard]] std::string no_such_kind(std::string_view category, std::string_view kind);

}  // namespace detail

// Writes a value into the object that is open: its kind as the member `kind_member`, then its fields.
template <class Variant>
void write_variant(encoding::JsonWriter& json, std::string_view kind_member, const Variant& value) {
  const detail::Kind<Variant>& kind = detail::kKinds<Variant>[value.index()];
  json.text(kind_member, kind.name);
  kind.write(json, value);
}

// Reads what that writes. `category` names in the refusal what the kinds are kinds of, in the plural.
template <class Variant>
[[nodiscard]] tl::expected<Variant, std::string> read_variant(encoding::JsonValue json, std::string_view kind_member,
                                                              std::string_view category) {
  const auto name = detail::read_kind(json, kind_member);
  if (!name) return tl::unexpected(name.error());
  const auto& kinds = detail::kKinds<Variant>;
  const auto kind = std::find_if(kinds.begin(), kinds.end(), [&](const auto& each) { return each.name == *name; });
  if (kind == kinds.end()) return tl::unexpected(detail::no_such_kind(category, *name));
  tl::expected<Variant, std::string> value;
  if (auto read = kind->read(json, *value); !read) return tl::unexpected(std::move(read).error());
  return value;
}

}  // namespace kvel::manager
