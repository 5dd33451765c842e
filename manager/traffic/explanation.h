// Says in JSON what becomes of a flow: which policy-maps are asked, which classes and rules match, which do not and
// why.
#pragma once

#include <string>

#include "manager/traffic/classifier.h"

namespace kvel::manager {

// What Classifier::decide() decides about the flow, as an object (docs/flows.md). Nothing is counted.
[[nodiscard]] std::string explain(Classifier& classifier, const Flow& flow);

}  // namespace kvel::manager
