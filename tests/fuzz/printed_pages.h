// The display of service policies as a fuzzer drives it: pages in, text out, and a beginning as often as wanted.
#pragma once

#include <cstdint>
#include <string>

namespace kvel::fuzz {

// As if the plug-in had just been loaded.
void load_anew();

// What the display prints for a page. The page lies in a block of its own size, so that a byte read after it is found.
[[nodiscard]] std::string print_page(const std::string& page, bool detail);

// Elements that are open after all that was printed since load_anew(), less those that were closed unopened.
[[nodiscard]] std::int64_t open_elements();

}  // namespace kvel::fuzz
