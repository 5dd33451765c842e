// The shell's view of the configuration: the manager's JSON records, fetched through backend calls like everything
// else.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace kvel::shell {

// A record of docs/configuration-records.md.
using ObjectRecord = nlohmann::ordered_json;

// Object kinds are those of kvel/host.h (KVEL_DOMAIN_...); 0 stands for all of them.
inline constexpr std::uint32_t kAllObjects = 0;

// A failed call: its status word, and its text for the user.
struct CallFailure {
  std::int32_t status = 0;
  std::string text;
};

// One object; a failure when there is none of that name.
[[nodiscard]] tl::expected<ObjectRecord, CallFailure> get_object(int context, std::uint32_t kind,
                                                                 const std::string& name);

// Visits every object of a kind, in the order in which the manager lists them: what is referred to comes before what
// refers to it. Fetches page by page.
[[nodiscard]] tl::expected<void, CallFailure> for_each_object(int context, std::uint32_t kind,
                                                              const std::function<void(const ObjectRecord&)>& visit);

}  // namespace kvel::shell
