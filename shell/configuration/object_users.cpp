// References between objects, as their records hold them.
#include "shell/configuration/object_users.h"

#include <fmt/format.h>

#include <array>
#include <optional>
#include <string_view>
#include <variant>

#include "kvel/host.h"
#include "shell/configuration/object_identity.h"
#include "shell/configuration/object_kinds.h"
#include "shell/configuration/objects.h"

namespace kvel::shell {

namespace {

// The member of an action, by its kind, that names an object.
struct ActionReference {
  std::string_view action;
  std::string_view member;
  std::uint32_t kind;
};

constexpr std::array kActionReferences{
    ActionReference{"load-balance", "policy", KVEL_DOMAIN_POLICY_MAP},
    ActionReference{"inspect-http", "policy", KVEL_DOMAIN_POLICY_MAP},
    ActionReference{"inspect-ftp", "policy", KVEL_DOMAIN_POLICY_MAP},
    ActionReference{"ssl-proxy-server", "name", KVEL_DOMAIN_SSL_PROXY},
    ActionReference{"ssl-proxy-client", "name", KVEL_DOMAIN_SSL_PROXY},
    ActionReference{"connection-parameters", "name", KVEL_DOMAIN_PARAMETER_MAP},
    ActionReference{"application-parameters", "name", KVEL_DOMAIN_PARAMETER_MAP},
};

std::string text_of(const ObjectRecord& record, std::string_view member) {
  const auto found = record.find(member);
  return found != record.end() && found->is_string() ? found->get<std::string>() : std::string();
}

ObjectRecord list_of(const ObjectRecord& record, std::string_view member) {
  const auto found = record.find(member);
  return found != record.end() && found->is_array() ? *found : ObjectRecord::array();
}

bool refers(const ObjectRecord& action, std::uint32_t kind, const std::string& name) {
  for (const ActionReference& reference : kActionReferences) {
    if (reference.kind == kind && text_of(action, "action") == reference.action &&
        text_of(action, reference.member) == name) {
      return true;
    }
  }
  return false;
}

// The places of a record that refer to the object.
class UserSearch {
 public:
  UserSearch(std::uint32_t kind, const std::string& name) : kind_(kind), name_(name) {}

  void look_at(const ObjectRecord& record) {
    const std::string kind = text_of(record, "kind");
    const std::string user = kind + " " + text_of(record, "name");
    if (kind == "class-map") {
      for (const ObjectRecord& rule : list_of(record, "rules")) {
        if (kind_ == KVEL_DOMAIN_CLASS_MAP && text_of(rule, "match") == "class-map" && text_of(rule, "name") == name_)
          users_.push_back(user);
      }
    } else if (kind == "ssl-proxy") {
      if (kind_ == KVEL_DOMAIN_PARAMETER_MAP && text_of(record, "parameter_map") == name_) users_.push_back(user);
    } else if (kind == "policy-map") {
      look_at_policy(record, user);
    }
  }

  std::vector<std::string> users() && { return std::move(users_); }

 private:
  void look_at_policy(const ObjectRecord& record, const std::string& user) {
    if (kind_ == KVEL_DOMAIN_POLICY_MAP && text_of(record, "name") == name_ && record.contains("applied"))
      users_.push_back(applied_text(record.at("applied")));
    for (const ObjectRecord& entry : list_of(record, "classes")) {
      const std::string class_name = text_of(entry, "class");
      bool uses = kind_ == KVEL_DOMAIN_CLASS_MAP && class_name == name_;
      for (const ObjectRecord& action : list_of(entry, "actions"))
        uses = uses || refers(action, kind_, name_);
      if (!uses) continue;
      users_.push_back(class_name.empty() ? fmt::format("{} (match {})", user, text_of(entry, "match"))
                                          : fmt::format("{} (class {})", user, class_name));
    }
  }

  static std::string applied_text(const ObjectRecord& applied) {
    if (!applied.is_array()) return "service-policy global";
    std::string text = "service-policy vlan";
    for (const ObjectRecord& vlan : applied)
      text += " " + vlan.dump();
    return text;
  }

  std::uint32_t kind_;
  const std::string& name_;
  std::vector<std::string> users_;
};

std::vector<std::string> names_in(std::span<const Token> tokens) {
  std::vector<std::string> names;
  for (const Token& token : tokens) {
    if (const auto* text = std::get_if<std::string>(&token.value)) names.push_back(*text);
  }
  return names;
}

}  // namespace

std::vector<std::string> users_of(int context, std::uint32_t kind, const std::string& name) {
  UserSearch search(kind, name);
  const auto fetched = for_each_object(context, kAllObjects, [&](const ObjectRecord& record) {
    if (record.is_object()) search.look_at(record);
  });
  return fetched ? std::move(search).users() : std::vector<std::string>();
}

std::string details_of(Status status, int context, std::span<const Token> tokens, std::string_view message) {
  const auto is_named = [&](const std::string& name) { return message.find("'" + name + "'") != message.npos; };
  const std::vector<std::string> names = names_in(tokens);
  if (names.empty()) return {};
  for (const ObjectKind& object : kObjectKinds) {
    if (status == object.in_use) {
      std::string lines;
      for (const std::string& user : users_of(context, object.kind, names.back()))
        lines += fmt::format("in use by {}\n", user);
      return lines;
    }
    if (status != object.not_found) continue;
    for (const std::string& name : names) {
      const auto found = identify_object(context, object.kind, name);
      if (found || static_cast<Status>(found.error().status) != object.not_found) continue;
      return is_named(name) ? std::string() : fmt::format("{} '{}' does not exist\n", object.name, name);
    }
  }
  if (status == Status::insert_before_not_found || status == Status::class_not_found ||
      status == Status::class_not_in_policy) {
    // The class itself comes first, the one to insert before last.
    const std::string& name = status == Status::insert_before_not_found ? names.back() : names.front();
    if (!is_named(name)) return fmt::format("'{}' is no class or match of the policy-map\n", name);
  }
  return {};
}

}  // namespace kvel::shell
