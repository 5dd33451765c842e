// "show version".
#pragma once

namespace kvel::shell {

// Prints the version of the shell, through the output library.
void show_version();

}  // namespace kvel::shell
