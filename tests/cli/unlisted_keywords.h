// Every keyword that a handler's table leaves out, packed into commands.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tests/cli/command_record.h"

namespace kvel::cli::test {

struct UnlistedKeywords {
  std::string range;  // for the message of a failure
  Tokens tokens;
};

// Commands that begin with `first` and go on with keywords that are not `listed`, their texts out of bounds: all ids up
// to 2047, and those that equal a listed one when they are cut to 16 bits or shifted by bytes.
[[nodiscard]] std::vector<UnlistedKeywords> unlisted_keywords(const Tokens& first,
                                                              const std::set<std::uint32_t>& listed);

}  // namespace kvel::cli::test
