// The shell's view of the configuration: the manager's JSON records, fetched through backend calls like everything
// else.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <tl/expected.hpp>

namespace kvel::shell {

// A record of docs/configuration-records.md. Another manager's may lack what ours have: then reading it throws
// nlohmann::json::exception, or std::out_of_range for an unknown type, and the session makes a failed call of
// it.
using ObjectRecord = nlohmann::ordered_json;

// Object kinds are those of kvel/host.h (KVEL_DOMAIN_...); 0 means all of them.
inline constexpr std::uint32_t kAllObjects = 0;

// A failed call: its status word, and its text for the user.
struct CallFailure {
  std::int32_t status = 0;
  std::string text;
  bool is_partial = false;  // the text says what is missing, and the rest was shown
};

// Objects are visited and returned whole, also those that the manager answers in several pages.

// One object; a failure when there is none of that name.
[[nodiscard]] tl::expected<ObjectRecord, CallFailure> get_object(int context, std::uint32_t kind,
                                                                 const std::string& name);

// Visits every object of a kind, in the order in which the manager lists them: a kind comes before those that refer to
// it, but within a kind an object may refer to a later one. Fetches page by page.
[[nodiscard]] tl::expected<void, CallFailure> for_each_object(int context, std::uint32_t kind,
                                                              const std::function<void(const ObjectRecord&)>& visit);

}  // namespace kvel::shell
