#include "manager/service/calls.h"

#include <fmt/format.h>

#include <random>
#include <utility>

#include "manager/service/load.h"
#include "manager/service/store_changes.h"

namespace kvel::manager {
namespace {

Status status_of(StoreFault fault) {
  switch (fault) {
    case StoreFault::full:
      return Status::store_full;
    case StoreFault::read_only:
      return Status::store_read_only;
    case StoreFault::busy:
    case StoreFault::not_a_file:
    case StoreFault::no_access:
    case StoreFault::damaged:
    case StoreFault::incomplete:
    case StoreFault::replaced:
    case StoreFault::foreign:
    case StoreFault::newer:
    case StoreFault::conflict:
    case StoreFault::unknown:
    case StoreFault::failed:
      break;
  }
  return Status::store_failed;
}

// Small enough that the numbers after it do not come around.
std::uint32_t random_number() { return std::random_device()() % 0x7fff'ffff + 1; }

}  // namespace

Calls::Calls(std::unique_ptr<Store> store, FailureLog log)
    : store_(std::move(store)), log_(std::move(log)), first_change_(random_number()) {}

StoreResult<void> Calls::load() {
  auto loaded = read(running_);
  if (!loaded) return tl::unexpected(std::move(loaded).error());
  make_current(*std::move(loaded));
  if (log_) report_large_expressions(running_, log_);
  return {};
}

StoreResult<Configuration> Calls::read(const Configuration& known) {
  Configuration loaded;
  const auto take = [&](const StoreKey& key, std::string_view body) -> tl::expected<void, std::string> {
    loaded.reserve_numbers(store_->head().next_number);
    const auto change = read_record(loaded, known, key, body);
    if (!change) return tl::unexpected(fmt::format("{}: {}", describe(key), change.error()));
    loaded.apply(*change);
    return {};
  };
  if (auto done = store_->load(take, [&] { return validate(loaded); }); !done) {
    return tl::unexpected(std::move(done).error());
  }
  head_ = store_->head();
  loaded.reserve_numbers(head_.next_number);  // also where there is no record
  return loaded;
}

bool Calls::read_again(const Configuration& known) {
  auto loaded = read(known);
  is_stale_ = !loaded;
  if (loaded) {
    make_current(*std::move(loaded));
  } else if (log_) {
    log_(loaded.error().message);
  }
  return !is_stale_;
}

bool Calls::is_current() { return !is_stale_ || read_again(running_); }

Status Calls::commit(const Candidate& candidate) {
  const Configuration& next = candidate.configuration();
  const Changes changes = difference(running_, next);
  if (changes.empty()) return Status::ok;
  const StoreChanges written(changes);
  const auto committed = store_->commit({head_.revision, next.next_number(), written.changes()});
  if (!committed) return refuse(committed.error(), next);
  // From here on nothing can fail.
  head_ = {head_.revision + 1, next.next_number()};
  make_current(next, changes);
  return Status::ok;
}

Status Calls::refuse(const StoreError& error, const Configuration& next) {
  if (log_) log_(error.message);
  is_stale_ = error.fault == StoreFault::conflict || error.fault == StoreFault::unknown;
  // It may have happened after all.
  const bool happened = error.fault == StoreFault::unknown && read_again(next) && difference(running_, next).empty();
  return happened ? Status::ok : status_of(error.fault);
}

void Calls::make_current(Configuration next) {
  const Changes changes = difference(running_, next);
  make_current(std::move(next), changes);
}

void Calls::make_current(Configuration next, const Changes& changes) noexcept {
  running_ = std::move(next);
  ++last_change_;
  for (const Change& change : changes)
    statistics_.apply(change);
}

}  // namespace kvel::manager
