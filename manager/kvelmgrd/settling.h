// Moves the store's log into its file when no change has come for a second, so that little of the configuration lives
// in the log.
#pragma once

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <functional>
#include <string_view>

#include "manager/store/sqlite_store.h"

namespace kvel {

// On the thread of the loop.
class Settling {
 public:
  // Takes a sentence about a log that could not be moved. Outlived by all three.
  Settling(asio::io_context& io, manager::SqliteStore& store, std::function<void(std::string_view)> log);
  Settling(const Settling&) = delete;
  Settling& operator=(const Settling&) = delete;
  ~Settling();

  // The loop runs out of work then.
  void stop();

 private:
  void on_change();
  void wait();
  void on_time();

  manager::SqliteStore& store_;
  std::function<void(std::string_view)> log_;
  asio::steady_timer timer_;
  bool is_waiting_ = false;
  bool has_changed_ = false;  // since the wait began
};

}  // namespace kvel
