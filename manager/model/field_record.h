// Writes and reads the fields of rules and actions as members of JSON objects. Only for the files that do so: it brings
// the JSON library along.
#pragma once

#include <fmt/format.h>

#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <tuple>
#include <utility>
#include <variant>

#include "manager/model/address.h"
#include "manager/model/field.h"

namespace kvel::manager {

// How each type of field is written and read.
void append_value(std::string& out, std::uint32_t number);
void append_value(std::string& out, bool flag);
void append_value(std::string& out, const std::string& text);
void append_value(std::string& out, HttpDirection direction);
void append_value(std::string& out, Ipv4 address);

[[nodiscard]] bool read_value(const nlohmann::json& json, std::uint32_t& number);
[[nodiscard]] bool read_value(const nlohmann::json& json, bool& flag);
[[nodiscard]] bool read_value(const nlohmann::json& json, std::string& text);
[[nodiscard]] bool read_value(const nlohmann::json& json, HttpDirection& direction);
[[nodiscard]] bool read_value(const nlohmann::json& json, Ipv4& address);

namespace detail {

template <class Thing, class Value>
void append_field(std::string& out, const Thing& thing, const Field<Thing, Value>& field) {
  const Value& value = thing.*field.member;
  if (field.presence == Presence::unless_default && value == Value{}) return;
  fmt::format_to(std::back_inserter(out), R"(,"{}":)", field.name);
  append_value(out, value);
}

// A missing field keeps its default: whoever reads compares the whole with what would be written.
template <class Thing, class Value>
bool read_field(const nlohmann::json& json, Thing& thing, const Field<Thing, Value>& field, std::string& error) {
  const auto found = json.find(field.name);
  if (found == json.end() || read_value(*found, thing.*field.member)) return true;
  error = fmt::format("its {} cannot be {}", field.name, found->dump());
  return false;
}

}  // namespace detail

// Reads the fields of a thing.
template <class Thing>
tl::expected<Thing, std::string> read_fields(const nlohmann::json& json) {
  Thing thing;
  std::string error;
  const bool read = std::apply(
      [&](const auto&... field) { return (detail::read_field(json, thing, field, error) && ...); }, Thing::fields());
  if (!read) return tl::unexpected(std::move(error));
  return thing;
}

// Appends the fields of a thing, each with a comma before it.
template <class Thing>
void append_fields(std::string& out, const Thing& thing) {
  std::apply([&](const auto&... field) { (detail::append_field(out, thing, field), ...); }, Thing::fields());
}

// Reads the kind of thing that the member `kind_member` of an object names, with its fields. `things` is what the kinds
// are kinds of, for the refusal.
template <class Variant>
tl::expected<Variant, std::string> read_variant(const nlohmann::json& json, std::string_view kind_member,
                                                std::string_view things) {
  const auto member = json.find(kind_member);
  if (member == json.end() || !member->is_string()) return tl::unexpected<std::string>("it has no kind");
  const auto& kind = member->get_ref<const std::string&>();
  std::optional<tl::expected<Variant, std::string>> result;
  const auto try_kind = [&]<class Thing>(std::in_place_type_t<Thing>) {
    if (Thing::kKind != kind) return false;
    result = read_fields<Thing>(json);
    return true;
  };
  const bool found = [&]<std::size_t... Index>(std::index_sequence<Index...>) {
    return (try_kind(std::in_place_type<std::variant_alternative_t<Index, typename Variant::Variant>>) || ...);
  }
  (std::make_index_sequence<Variant::kKinds>{});
  if (found) return *std::move(result);
  return tl::unexpected(fmt::format("there are no {} of the kind {:?}", things, kind));
}

}  // namespace kvel::manager
