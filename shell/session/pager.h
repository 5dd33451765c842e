// Long output on a terminal, a screen at a time.
#pragma once

#include <cstddef>
#include <string_view>

namespace kvel::shell {

// Rows that a terminal of so many columns takes to show `text`. Controls other than line ends count like letters.
[[nodiscard]] std::size_t rows_of(std::string_view text, std::size_t columns);

// Shows text that is longer than the screen in the user's pager ($PAGER as a shell command; without it "less -FRX") and
// waits for its end. False when nothing has been shown: the text fits, standard output is no terminal, or there is no
// such pager.
[[nodiscard]] bool show_in_pager(std::string_view text);

}  // namespace kvel::shell
