// Signals as the one who started the program has set them.
#pragma once

namespace kvel {

// As in a shell's background jobs, and under nohup: what is ignored from outside stays ignored.
[[nodiscard]] bool is_ignored(int signal) noexcept;

}  // namespace kvel
