// The functions of a KindVariant, for the one file that instantiates it.
#pragma once

#include <memory>
#include <utility>

#include "manager/model/kind_variant.h"

namespace kvel::manager {

template <class List>
KindVariant<List>::KindVariant() noexcept = default;
template <class List>
KindVariant<List>::KindVariant(const KindVariant& other) = default;
template <class List>
KindVariant<List>::KindVariant(KindVariant&& other) noexcept = default;
template <class List>
KindVariant<List>::~KindVariant() = default;

// No kind is assigned in a way of its own: constructing anew is the same, and half of the code.
template <class List>
KindVariant<List>& KindVariant<List>::operator=(const KindVariant& other) {
  return *this = KindVariant(other);
}
template <class List>
KindVariant<List>& KindVariant<List>::operator=(KindVariant&& other) noexcept {
  if (this == &other) return *this;
  std::destroy_at(this);
  return *std::construct_at(this, std::move(other));
}

template <class List>
bool KindVariant<List>::equals(const KindVariant& other) const {
  return static_cast<const Variant&>(*this) == static_cast<const Variant&>(other);
}
template <class List>
std::strong_ordering KindVariant<List>::compare(const KindVariant& other) const {
  return static_cast<const Variant&>(*this) <=> static_cast<const Variant&>(other);
}

}  // namespace kvel::manager
