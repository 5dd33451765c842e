// Records as parts of a document.
#include "shell/configuration/document.h"

#include <cstdint>

#include "output/output.h"

namespace kvel::shell {

void print_member(const std::string& name, const ObjectRecord& value) {
  if (value.is_object()) {
    output::open_element(name);
    for (const auto& [inner, member] : value.items())
      print_member(inner, member);
    output::close_element(name);
  } else if (value.is_array()) {
    for (const ObjectRecord& element : value)
      print_member(name, element);
  } else if (value.is_number_unsigned()) {
    output::value(name, value.get<std::uint64_t>());
  } else if (value.is_number_integer()) {
    output::value(name, value.get<std::int64_t>());
  } else if (value.is_boolean()) {
    output::value_truth(name, value.get<bool>());
  } else {
    output::value(name, value.is_string() ? value.get<std::string>() : value.dump());
  }
}

}  // namespace kvel::shell
