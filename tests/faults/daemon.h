// kvelmgrd as the tests of faults treat it: started, killed, stopped from outside, measured.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/shell/process.h"

namespace kvel::faults {

class Daemon {
 public:
  // With its store and its socket in this folder. Does nothing yet.
  explicit Daemon(std::filesystem::path folder, std::vector<std::string> options = {});

  // Runs it until it serves; without waiting for that.
  void start();
  void start_only();
  // With SIGKILL. Its socket file remains.
  void kill();
  // With SIGTERM; its exit status.
  int stop();

  [[nodiscard]] std::filesystem::path store() const { return folder_ / "kvel.db"; }
  [[nodiscard]] std::string socket() const { return (folder_ / "socket").native(); }
  [[nodiscard]] test::Background& process() { return *process_; }
  // The memory that it holds, in bytes.
  [[nodiscard]] std::size_t resident() const;

 private:
  std::filesystem::path folder_;
  std::vector<std::string> options_;
  std::unique_ptr<test::Background> process_;
};

}  // namespace kvel::faults
