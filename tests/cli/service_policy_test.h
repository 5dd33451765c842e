// The fixture of the service-policy tests: pages of the statistics stream through the formatter, and the calls of the
// output library that come of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tests/cli/plugin_test.h"
#include "tests/cli/statistics_stream.h"

namespace kvel::cli::test {

// ---- events

[[nodiscard]] std::string opened(std::string_view tag);
[[nodiscard]] std::string closed(std::string_view tag);
// A line with values: its format, its tag or the names of its tag list, what it is printed as.
[[nodiscard]] std::string line(std::string_view format, std::string_view tags, std::string_view text);
// A line with values, but without a tag.
[[nodiscard]] std::string line(std::string_view format, std::string_view text);
// A line without values.
[[nodiscard]] std::string line(std::string_view format);
// A line with a tag, but without values.
[[nodiscard]] std::string tagged(std::string_view format, std::string_view tag);

// How a policy is shown.
struct Mode {
  std::uint32_t active = 1;
  std::uint8_t detail = 0;
};

// The heading of the global policy "edge", which has no description.
[[nodiscard]] Events heading(const Mode& mode);
// What precedes the action groups of a class that has not been shown yet, up to its sp_class_types.
[[nodiscard]] Events class_opened(std::string_view name);
// And what comes after them.
[[nodiscard]] Events class_closed();
[[nodiscard]] std::string action_name(std::string_view word);
// The four lines of stream::Counters as they come by default.
[[nodiscard]] Events statistics();
// They, when the policy is active.
[[nodiscard]] Events statistics(const Mode& mode);

// ---- pages

class ServicePolicyTest : public PluginTest {
 protected:
  // One page of the policy "edge" through the formatter, in memory that ends with the page.
  Events format(const std::string& page, std::uint8_t detail = 0);

  // One action group as the only one of the first page of a freshly loaded plug-in; the events are those inside its
  // sp_class_type. The expectations of what surrounds it are checked.
  Events format_action(const std::string& group, const Mode& mode = {});
};

// Every combination of active and inactive, with and without detail.
inline constexpr Mode kModes[] = {{1, 0}, {1, 1}, {0, 0}, {0, 1}};
[[nodiscard]] std::string name_of(const Mode& mode);

}  // namespace kvel::cli::test
