// Writing a file whole or not at all.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace kvel::shell {

// Makes `path` a file of these bytes. One that it replaces gives it owner, group and mode; links are followed, and
// stay. On failure, of which the reason is returned, what was there is untouched and no other file remains. Refused is
// what cannot be replaced so: a file with several names, one whose owner cannot be kept, and what is no regular file,
// as a FIFO, for whose reader one would wait, or a device.
[[nodiscard]] tl::expected<void, std::string> save_file(const std::string& path, std::string_view bytes);

}  // namespace kvel::shell
