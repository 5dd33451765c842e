#include "manager/kvelmgrd/settling.h"

#include <chrono>
#include <utility>

namespace kvel {
namespace {

constexpr auto kIdleTime = std::chrono::seconds(1);

}  // namespace

Settling::Settling(asio::io_context& io, manager::SqliteStore& store, std::function<void(std::string_view)> log)
    : store_(store), log_(std::move(log)), timer_(io) {
  store_.on_commit([this] { on_change(); });
}

Settling::~Settling() { store_.on_commit({}); }

void Settling::stop() { timer_.cancel(); }

// One timer for a run of changes, not one for each.
void Settling::on_change() {
  has_changed_ = true;
  if (!is_waiting_) wait();
}

void Settling::wait() {
  timer_.expires_after(kIdleTime);
  timer_.async_wait([this](const std::error_code& error) {
    is_waiting_ = false;
    if (!error) on_time();
  });
  is_waiting_ = true;
  has_changed_ = false;
}

void Settling::on_time() {
  if (has_changed_) return wait();
  const auto settled = store_.settle();
  if (settled) return;
  if (settled.error().fault == manager::StoreFault::busy) return wait();  // a backup is being made
  log_(settled.error().message);
}

}  // namespace kvel
