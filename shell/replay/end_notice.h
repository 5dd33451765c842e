// What a replay says when a signal ends it.
#pragma once

#include <csignal>
#include <cstddef>
#include <string>

namespace kvel::shell {

// While it lives, SIGINT and SIGTERM print the place that the replay has reached, and then end the process as they
// would without it, whatever it is waiting for. One that was ignored stays so. One at a time.
class EndNotice {
 public:
  EndNotice();
  EndNotice(const EndNotice&) = delete;
  EndNotice& operator=(const EndNotice&) = delete;
  ~EndNotice();

  // The source of the lines; the one before is forgotten.
  void enter(const std::string& source);
  // The line of it that is being read or carried out, and how many were carried out before.
  void at(std::size_t line, std::size_t carried_out);

 private:
  struct sigaction interrupt_ {};
  struct sigaction terminate_ {};
};

}  // namespace kvel::shell
