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
  Configuration loaded;
  const auto take = [&](const StoreKey& key, std::string_view body) -> tl::expected<void, std::string> {
    const auto change = read_record(loaded, key, body);
    if (!change) return tl::unexpected(fmt::format("{}: {}", describe(key), change.error()));
    loaded.apply(*change);
    return {};
  };
  auto done = store_->load(take, [&] { return validate(loaded); });
  if (!done) return done;
  running_ = std::move(loaded);
  if (log_) report_large_expressions(running_, log_);
  return done;
}

Status Calls::commit(const Candidate& candidate) {
  const Changes changes = difference(running_, candidate.configuration());
  if (changes.empty()) return Status::ok;
  const auto committed = store_->commit(StoreChanges(changes).changes());
  if (!committed) {
    if (log_) log_(committed.error().message);
    return status_of(committed.error().fault);
  }
  // From here on nothing can fail.
  running_ = candidate.configuration();
  ++last_change_;
  for (const Change& change : changes)
    statistics_.apply(change);
  return Status::ok;
}

}  // namespace kvel::manager
