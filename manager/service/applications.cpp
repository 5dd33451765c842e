#include "manager/service/applications.h"

#include <algorithm>

namespace kvel::manager {

bool is_application_taken(const Context& context, std::string_view name, const PolicyMapSettings& settings) {
  if (!settings.application.anywhere()) return false;  // most are not, and each is asked about when all are loaded
  return std::any_of(context.policy_maps.begin(), context.policy_maps.end(), [&](const auto& entry) {
    const auto& [other_name, other] = entry;
    return other.settings.type == settings.type && other_name != name &&
           other.settings.application.overlaps(settings.application);
  });
}

}  // namespace kvel::manager
