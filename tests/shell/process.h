// Runs a program of the build and takes down what it prints.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace kvel::test {

struct Finished {
  int status = -1;  // exit status; -1 when a signal ended it
  std::string out;
  std::string err;
};

// Runs `program` with these arguments and this standard input; `environment` holds "NAME=value" to set.
Finished run_program(const std::string& program, const std::vector<std::string>& arguments,
                     const std::string& input = "", const std::vector<std::string>& environment = {});

inline Finished run_kvelsh(const std::vector<std::string>& arguments, const std::string& input = "",
                           const std::vector<std::string>& environment = {}) {
  return run_program(KVEL_KVELSH, arguments, input, environment);
}

// A program that runs on beside the test, with its standard input held open; killed with SIGKILL when it goes out of
// scope and still runs.
class Background {
 public:
  Background(const std::string& program, const std::vector<std::string>& arguments);
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;
  ~Background();

  [[nodiscard]] pid_t pid() const { return pid_; }
  void signal(int number) const;
  void type(const std::string& text) const;  // to its standard input
  void end_input();
  // Waits for its end; the exit status, or -1 when a signal ended it.
  int wait();

  // What it has written so far.
  [[nodiscard]] std::string out() const;
  [[nodiscard]] std::string err() const;
  // Waits until its output holds `text`; false when that does not come in a minute.
  [[nodiscard]] bool printed(const std::string& text) const;

 private:
  std::string folder_;
  pid_t pid_ = -1;
  int input_ = -1;
};

// A folder of the test's own, removed with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& text);

}  // namespace kvel::test
