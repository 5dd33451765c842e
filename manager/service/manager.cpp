#include "manager/service/manager.h"

#include <exception>
#include <utility>

#include "manager/service/calls.h"

namespace kvel::manager {
namespace {

using rpc::Row;

constexpr auto kDispatch = rpc::dispatch_table<  //
    Calls,                                       //
    Row<"cm_classmap_get_list", &Calls::list_class_maps>,
    Row<"cm_add_or_lookup_classmap", &Calls::add_or_lookup_class_map>,
    Row<"cm_update_classdesc", &Calls::update_class_map_description>,  //
    Row<"kvel_get_object", &Calls::get_object>,                        //
    Row<"kvel_get_objects", &Calls::get_objects>>();

}  // namespace

StoreResult<std::unique_ptr<Manager>> Manager::open(std::unique_ptr<Store> store, FailureLog log) {
  auto calls = std::make_unique<Calls>(std::move(store), log);
  if (auto loaded = calls->load(); !loaded) return tl::unexpected(std::move(loaded).error());
  return std::unique_ptr<Manager>(new Manager(std::move(calls), std::move(log)));
}

Manager::Manager(std::unique_ptr<Calls> calls, FailureLog log) : calls_(std::move(calls)), log_(std::move(log)) {}

Manager::~Manager() = default;

Status Manager::call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept {
  if (call >= kDispatch.size()) return Status::unknown_call;
  try {
    return kDispatch[call](*calls_, arguments);
  } catch (const std::exception& failure) {
    if (log_) log_(failure.what());
  } catch (...) {
    if (log_) log_("a failure without a name");
  }
  return Status::internal;
}

}  // namespace kvel::manager
