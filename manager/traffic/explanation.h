// Explains in JSON how a flow is classified: the policy-maps asked, the classes and rules that match, and why others do
// not.
#pragma once

#include <string>

#include "manager/traffic/classifier.h"

namespace kvel::manager {

// What Classifier::decide() decides about the flow, as an object (docs/flows.md). Nothing is counted.
[[nodiscard]] std::string explain(Classifier& classifier, const Flow& flow);

}  // namespace kvel::manager
