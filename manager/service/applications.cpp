#include "manager/service/applications.h"

namespace kvel::manager {

bool is_application_taken(const Context& context, std::string_view name, const PolicyMapSettings& settings) {
  if (!settings.application.anywhere()) return false;  // most are not, and each is asked about when all are loaded
  for (const auto& [other_name, other] : context.policy_maps) {
    if (other->settings->type == settings.type && other_name != name &&
        other->settings->application.overlaps(settings.application)) {
      return true;
    }
  }
  return false;
}

}  // namespace kvel::manager
