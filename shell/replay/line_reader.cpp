// Reading command lines.
#include "shell/replay/line_reader.h"

#include <cerrno>

namespace kvel::shell {

bool LineReader::next(std::string& line) {
  line.clear();
  cut_off_ = false;
  errno = 0;
  std::size_t length = 0;
  for (int byte = std::getc(stream_); byte != '\n'; byte = std::getc(stream_)) {
    if (byte == EOF) {
      if (std::ferror(stream_) != 0) {
        error_ = errno == 0 ? EIO : errno;
        return false;
      }
      if (line.empty()) return false;
      cut_off_ = true;
      break;
    }
    if (++length > kEndlessBytes) {
      endless_ = true;
      return false;
    }
    if (line.size() < limit_ + 2) line.push_back(static_cast<char>(byte));
  }
  ++number_;
  return true;
}

}  // namespace kvel::shell
