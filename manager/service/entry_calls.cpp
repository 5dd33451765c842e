// The calls of a client that enters an object by its name, and goes on to change the object that it has entered: which
// object of that name it was. An identity is, as big-endian words, the beginning of the process's numbers, that of the
// object among these, and further words of the call. Neither of the two is ever 0.
#include <algorithm>

#include "manager/service/calls.h"
#include "manager/service/fields.h"

namespace kvel::manager {
namespace {

using WhichObject = std::span<std::byte, 8>;

void put_which(WhichObject field, std::uint32_t first_change, std::uint32_t identity) {
  put_word(field.first<4>(), first_change);
  put_word(field.subspan<4, 4>(), identity);
}

std::uint32_t type_number(const SslProxy&) { return 0; }
std::uint32_t type_number(const auto& object) { return static_cast<std::uint32_t>(object.settings->type); }

}  // namespace

// Makes an object with a type and, of a class-map or policy-map, a match mode or subtype; or looks up the one of that
// name and type. Of that one the further setting is compared or, of a class-map, changed, if it was `given`; otherwise
// it stays. Further words of the identity: whether the object was made by this call; the match mode that a class-map
// had, and the number of its rules.
Status Calls::enter_object(std::uint16_t context_number, rpc::SessionId session, std::uint32_t kind_number,
                           std::string_view name, std::uint8_t type, std::uint8_t setting, std::uint8_t given,
                           IdentityField identity) {
  std::ranges::fill(identity, std::byte{0});
  const auto kind = object_kind(kind_number);
  if (!kind) return Status::invalid_type;
  if (given > 1) return Status::bad_arguments;
  const WordField created = identity.subspan<8, 4>();
  const bool is_there = given == 0 && context(context_number).with_table(*kind, [&](const auto& table) {
    const auto* const present = find_object(table, name);
    return present != nullptr && type_number(*present) == type;
  });
  put_word(identity.subspan<12, 4>(), setting);
  if (const ClassMap* const present = context(context_number).find<ClassMap>(name);
      present != nullptr && *kind == ObjectKind::class_map) {
    put_word(identity.subspan<12, 4>(), static_cast<std::uint32_t>(present->settings->mode));
    put_word(identity.subspan<16, 4>(), static_cast<std::uint32_t>(present->rules.size()));
  }
  if (!is_there) {
    const Status status = make_or_look_up({context_number, session, *kind, name, type, setting}, created);
    if (!succeeded(status)) return status;
  }
  const Number number =
      context(context_number).with_table(*kind, [&](const auto& table) { return find_object(table, name)->number; });
  put_which(identity.first<8>(), first_change_, identity_of(number));
  return Status::ok;
}

Status Calls::make_or_look_up(const ObjectToEnter& object, WordField created) {
  const auto& [context_number, session, kind, name, type, setting] = object;
  constexpr std::uint8_t kAdd = 1;
  switch (kind) {
    case ObjectKind::class_map:
      return add_or_lookup_class_map(context_number, session, type, setting, name, kAdd, created);
    case ObjectKind::policy_map:
      return add_or_lookup_policy_map(context_number, session, name, type, setting, kAdd, created);
    case ObjectKind::parameter_map:
      return add_or_lookup_parameter_map(context_number, session, kAdd, name, type, created);
    case ObjectKind::ssl_proxy:
      break;
  }
  const bool is_new = context(context_number).find<SslProxy>(name) == nullptr;
  const Status status = add_or_lookup_ssl_proxy(context_number, name, kAdd);
  if (succeeded(status)) put_word(created, is_new ? 1 : 0);
  return status;
}

// Which object has a name, and which class or inline match of a policy-map has the name `entry`, if it is not empty.
// Further words of the identity: the type of the object, and two of the class.
Status Calls::identify_object(std::uint16_t context_number, std::uint32_t kind_number, std::string_view name,
                              std::string_view entry, IdentityField identity) {
  std::ranges::fill(identity, std::byte{0});
  const auto kind = object_kind(kind_number);
  if (!kind) return Status::invalid_type;
  if (!entry.empty() && *kind != ObjectKind::policy_map) return Status::bad_arguments;
  const bool found = context(context_number).with_table(*kind, [&](const auto& table) {
    const auto* const object = find_object(table, name);
    if (object == nullptr) return false;
    put_which(identity.first<8>(), first_change_, identity_of(object->number));
    put_word(identity.subspan<8, 4>(), type_number(*object));
    return true;
  });
  if (!found) return not_found(*kind);
  if (entry.empty()) return Status::ok;
  const ClassList& classes = context(context_number).find<PolicyMap>(name)->classes;
  const ClassPointer present = entry == kClassDefault ? classes.class_default() : classes.find(entry);
  if (present == nullptr) return Status::class_not_in_policy;
  put_double_word(identity.subspan<12, 8>(), present->number);
  return Status::ok;
}

}  // namespace kvel::manager
