#include "tests/faults/daemon.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

namespace kvel::faults {

Daemon::Daemon(std::filesystem::path folder, std::vector<std::string> options)
    : folder_(std::move(folder)), options_(std::move(options)) {}

void Daemon::start() {
  start_only();
  ASSERT_TRUE(process_->printed("serving ")) << process_->err();
}

void Daemon::start_only() {
  std::vector<std::string> arguments{"--store", store().native(), "--socket", socket(), "--log-level", "debug"};
  arguments.insert(arguments.end(), options_.begin(), options_.end());
  process_ = std::make_unique<test::Background>(KVEL_KVELMGRD, arguments);
}

void Daemon::kill() {
  process_->signal(SIGKILL);
  process_->wait();
}

int Daemon::stop() {
  process_->signal(SIGTERM);
  return process_->wait();
}

std::size_t Daemon::resident() const {
  std::ifstream file("/proc/" + std::to_string(process_->pid()) + "/statm");
  std::size_t size = 0;
  std::size_t resident_pages = 0;
  file >> size >> resident_pages;
  EXPECT_TRUE(file) << "the manager is gone";
  return resident_pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

}  // namespace kvel::faults
