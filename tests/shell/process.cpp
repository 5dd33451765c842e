// Running programs.
#include "tests/shell/process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace kvel::test {

namespace {

[[noreturn]] void execute(const std::string& program, const std::vector<std::string>& arguments,
                          const std::vector<std::string>& environment) {
  for (const std::string& setting : environment)
    putenv(const_cast<char*>(setting.c_str()));
  std::vector<char*> words{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments)
    words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  execv(program.c_str(), words.data());
  _exit(127);
}

void redirect(const std::string& path, int flags, int descriptor) {
  const int file = open(path.c_str(), flags | O_CLOEXEC, 0600);
  if (file < 0 || dup2(file, descriptor) < 0) _exit(126);
}

int exit_status(pid_t pid) {
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

Finished run_program(const std::string& program, const std::vector<std::string>& arguments, const std::string& input,
                     const std::vector<std::string>& environment) {
  const TemporaryFolder folder;
  write_file(folder.file("in"), input);
  const pid_t pid = fork();
  if (pid == 0) {
    redirect(folder.file("in"), O_RDONLY, STDIN_FILENO);
    redirect(folder.file("out"), O_WRONLY | O_CREAT, STDOUT_FILENO);
    redirect(folder.file("err"), O_WRONLY | O_CREAT, STDERR_FILENO);
    execute(program, arguments, environment);
  }
  Finished finished;
  finished.status = exit_status(pid);
  finished.out = read_file(folder.file("out"));
  finished.err = read_file(folder.file("err"));
  return finished;
}

Background::Background(const std::string& program, const std::vector<std::string>& arguments) {
  char name[] = "/tmp/kvel-test-XXXXXX";
  int input[2];
  if (mkdtemp(name) == nullptr || pipe2(input, O_CLOEXEC) != 0)
    throw std::runtime_error("no folder or pipe for a program");
  folder_ = name;
  pid_ = fork();
  if (pid_ == 0) {
    dup2(input[0], STDIN_FILENO);
    redirect(folder_ + "/out", O_WRONLY | O_CREAT, STDOUT_FILENO);
    redirect(folder_ + "/err", O_WRONLY | O_CREAT, STDERR_FILENO);
    execute(program, arguments, {});
  }
  close(input[0]);
  input_ = input[1];
}

Background::~Background() {
  if (pid_ > 0) {
    signal(SIGKILL);
    wait();
  }
  end_input();
  std::error_code error;
  std::filesystem::remove_all(folder_, error);
}

void Background::signal(int number) const { kill(pid_, number); }

void Background::type(const std::string& text) const {
  if (write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("the program does not read");
  }
}

void Background::end_input() {
  if (input_ >= 0) close(input_);
  input_ = -1;
}

int Background::wait() {
  const int status = exit_status(pid_);
  pid_ = -1;
  return status;
}

std::string Background::out() const { return read_file(folder_ + "/out"); }
std::string Background::err() const { return read_file(folder_ + "/err"); }

bool Background::printed(const std::string& text) const {
  for (int tries = 0; tries < 12000; ++tries) {
    if ((out() + err()).find(text) != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

TemporaryFolder::TemporaryFolder() {
  char name[] = "/tmp/kvel-test-XXXXXX";
  if (mkdtemp(name) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void write_file(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace kvel::test
