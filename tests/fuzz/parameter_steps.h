// The steps of parameter-maps and SSL-proxy services as calls of the manager, and its lists of names. Apart from the
// other steps because the tests' clients of the two cannot meet in one file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "rpc/calls/service.h"
#include "tests/fuzz/reference_configuration.h"

namespace kvel::fuzz {

[[nodiscard]] Status run_parameter_step(rpc::Service& manager, const Step& step);

// Every name of a list, page by page.
[[nodiscard]] std::vector<std::string> parameter_map_names(rpc::Service& manager, std::uint32_t kind);
[[nodiscard]] std::vector<std::string> service_names(rpc::Service& manager);

}  // namespace kvel::fuzz
