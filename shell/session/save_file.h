// Writing a file whole or not at all.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace kvel::shell {

// Makes `path` a file of these bytes, replacing an existing one, whose mode it keeps. A link to a file is
// followed, one to nothing replaced. On failure (an errno value) what was there is untouched and no other file
// remains. A file that is no regular one (a terminal, /dev/null) is written to as it is, but never a FIFO: that would
// wait for a reader, who may not come.
[[nodiscard]] tl::expected<void, int> save_file(const std::string& path, std::string_view bytes);

}  // namespace kvel::shell
