// The schema of the document of "show service-policy".
#pragma once

#include <string>

namespace kvel::output::testing {

// Whether the document keeps to docs/service-policy.xsd; if not, why.
[[nodiscard]] std::string schema_faults(const std::string& xml);

}  // namespace kvel::output::testing
