// Laying out lists.
#include "shell/editor/listing.h"

#include <algorithm>

#include "shell/matcher/printable.h"

namespace kvel::shell {

void Listing::add(const std::vector<Expected>& block) {
  std::size_t width = 0;
  for (const Expected& entry : block)
    width = std::max(width, columns_of(printable(entry.text)));
  for (const Expected& entry : block) {
    const std::string shown = printable(entry.text);
    text += "  " + shown;
    if (!entry.help.empty()) text += std::string(width - columns_of(shown) + 2, ' ') + printable(entry.help);
    text += '\n';
  }
  entries += block.size();
}

void Listing::add_line(const std::string& line) { text += line + '\n'; }

}  // namespace kvel::shell
