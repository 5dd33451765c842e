#include "manager/service/calls.h"

#include <utility>

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

}  // namespace

Calls::Calls(std::unique_ptr<Store> store, FailureLog log) : store_(std::move(store)), log_(std::move(log)) {}

Status Calls::commit(std::span<const Change> changes) {
  const auto committed = store_->commit(changes);
  if (committed) {
    configuration_.changed(changes.front().key.context);  // a call is about one context
    return Status::ok;
  }
  if (log_) log_(committed.error().message);
  return status_of(committed.error().fault);
}

}  // namespace kvel::manager
