// One of many kinds of value: a std::variant whose copies and comparisons are compiled once, in the file that
// instantiates it, and not in every file that holds one.
#pragma once

#include <array>
#include <compare>
#include <concepts>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <variant>

namespace kvel::manager {

namespace detail {
// The index of a kind among the alternatives; their number when it is none of them.
template <class Kind, class... Kinds>
consteval std::size_t index_among(std::type_identity<std::variant<Kinds...>> /*all*/) {
  constexpr std::array<bool, sizeof...(Kinds)> kSame{std::same_as<Kind, Kinds>...};
  std::size_t index = 0;
  while (index < kSame.size() && !kSame[index])
    ++index;
  return index;
}
}  // namespace detail

template <class Kind, class Variant>
concept AlternativeOf = detail::index_among<std::remove_cvref_t<Kind>>(std::type_identity<Variant>())
< std::variant_size_v<Variant>;

// `List` has a member type Variant. One source file includes kind_variant_definitions.h and instantiates the class.
template <class List>
class KindVariant : public List::Variant {
 public:
  using Variant = typename List::Variant;

  KindVariant() noexcept;
  template <AlternativeOf<Variant> Kind>
  // NOLINTNEXTLINE(google-explicit-constructor): a value of a kind is one of them
  KindVariant(Kind&& kind) : Variant(std::in_place_type<std::remove_cvref_t<Kind>>, std::forward<Kind>(kind)) {}

  KindVariant(const KindVariant& other);
  KindVariant(KindVariant&& other) noexcept;
  KindVariant& operator=(const KindVariant& other);
  KindVariant& operator=(KindVariant&& other) noexcept;
  ~KindVariant();

  // First by the order of the kinds, then by the fields.
  [[nodiscard]] bool equals(const KindVariant& other) const;
  [[nodiscard]] std::strong_ordering compare(const KindVariant& other) const;
  friend bool operator==(const KindVariant& left, const KindVariant& right) { return left.equals(right); }
  friend std::strong_ordering operator<=>(const KindVariant& left, const KindVariant& right) {
    return left.compare(right);
  }

  static constexpr std::size_t kKinds = std::variant_size_v<Variant>;
  template <AlternativeOf<Variant> Kind>
  static constexpr std::size_t kIndexOf = detail::index_among<Kind>(std::type_identity<Variant>());
};

}  // namespace kvel::manager
