// Puts pages into guarded memory, and writes out the calls that surround an action.
#include "tests/cli/service_policy_test.h"

#include <algorithm>
#include <cstring>

#include "tests/cli/guarded_memory.h"

namespace kvel::cli::test {

std::string opened(std::string_view tag) { return "xprint_header " + quoted(tag); }

std::string closed(std::string_view tag) { return "xprint_footer " + quoted(tag); }

std::string line(std::string_view format, std::string_view tags, std::string_view text) {
  return "xprint " + quoted(format, '"') + " " + quoted(tags) + " => " + quoted(text, '"');
}

std::string line(std::string_view format, std::string_view text) {
  return "xprint " + quoted(format, '"') + " => " + quoted(text, '"');
}

std::string line(std::string_view format) { return line(format, format); }

std::string tagged(std::string_view format, std::string_view tag) { return line(format, tag, format); }

Events heading(const Mode& mode) {
  Events events = {opened("service_policy"), line("\n"),
                   line(mode.active != 0 ? "Status     : ACTIVE\n" : "Status     : INACTIVE\n")};
  if (mode.detail != 0) events.push_back(line("Description: -\n"));
  events.push_back(line("-----------------------------------------\n"));
  if (mode.active != 0) events.push_back(line("Context Global Policy:"));
  return events + Events{line("\n"), line("  service-policy: <%s>\n", "sp_name", "  service-policy: <edge>\n")};
}

Events class_opened(std::string_view name) {
  return {opened("sp_class_map"),
          line("    class: <%s>\n", "sp_class_name", "    class: <" + std::string(name) + ">\n"),
          opened("sp_class_types")};
}

Events class_closed() { return {closed("sp_class_types"), closed("sp_class_map")}; }

std::string action_name(std::string_view word) {
  return line("      <%s>:\n", "sp_action_name", "      <" + std::string(word) + ">:\n");
}

Events statistics() {
  return {
      line("        curr conns       : <%-10u>, hit count        : <%-10u>\n", "sp_curr_conns sp_hit_count",
           "        curr conns       : <1001      >, hit count        : <1002      >\n"),
      line("        dropped conns    : <%-10u>\n", "sp_drop_conns", "        dropped conns    : <1007      >\n"),
      line("        client pkt count : <%-10u>, client byte count: <%-20llu>\n",
           "sp_pkt_count_client sp_byte_count_client",
           "        client pkt count : <1003      >, client byte count: <1005                >\n"),
      line("        server pkt count : <%-10u>, server byte count: <%-20llu>\n",
           "sp_pkt_count_server sp_byte_count_server",
           "        server pkt count : <1004      >, server byte count: <1006                >\n"),
  };
}

Events statistics(const Mode& mode) { return mode.active != 0 ? statistics() : Events{}; }

std::string name_of(const Mode& mode) {
  return std::string(mode.active != 0 ? "active" : "inactive") + (mode.detail != 0 ? ", detail" : "");
}

Events ServicePolicyTest::format(const std::string& page, std::uint8_t detail) {
  GuardedBlock block(page.size());
  std::memcpy(block.data(), page.data(), page.size());
  block.freeze();
  const void* data = block.data();
  return invoke("format_and_display_policystats", detail, "edge", static_cast<std::int32_t>(page.size()), data,
                inaccessible());
}

Events ServicePolicyTest::format_action(const std::string& group, const Mode& mode) {
  reload();
  const Events events =
      format(stream::policy({.class_count = 1, .active = mode.active}) + stream::class_map({.entry_count = 1}) + group,
             mode.detail);
  const Events before = heading(mode) + class_opened("web") + Events{opened("sp_class_type")};
  const Events after = Events{closed("sp_class_type")} + class_closed() + Events{closed("service_policy")};
  if (events.size() < before.size() + after.size() || !std::equal(before.begin(), before.end(), events.begin()) ||
      !std::equal(after.rbegin(), after.rend(), events.rbegin())) {
    ADD_FAILURE() << "the action is not surrounded as it should be";
    return events;
  }
  Events inside;
  inside.insert(inside.end(), events.begin() + static_cast<std::ptrdiff_t>(before.size()),
                events.end() - static_cast<std::ptrdiff_t>(after.size()));
  return inside;
}

}  // namespace kvel::cli::test
