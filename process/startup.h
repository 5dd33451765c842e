// What every program of the project does before it opens anything.
#pragma once

namespace kvel {

// Standard streams that are closed become streams that fail: else the next file or connection would take their place,
// and be read as commands or written to as a log. A file that may not grow (RLIMIT_FSIZE) causes an error of the write
// instead of the end of the process.
void prepare_process() noexcept;

}  // namespace kvel
