// The two kinds of backend.
#include "shell/kvelsh/backend.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <string_view>
#include <utility>

#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "manager/store/sqlite_store.h"
#include "rpc/client/embedded_channel.h"
#include "rpc/client/remote_channel.h"
#include "rpc/wire/address.h"

namespace kvel::shell {

namespace {

tl::expected<Backend, std::string> connect(const Options& options) {
  auto address = rpc::parse_address(options.connect);
  if (!address) return tl::unexpected(address.error());
  auto channel = std::make_unique<rpc::RemoteChannel>(*address, std::chrono::seconds(options.timeout_seconds));
  if (!succeeded(channel->bind())) {
    return tl::unexpected(fmt::format("no manager at {}: {}", options.connect, channel->last_failure()));
  }
  return Backend{nullptr, std::move(channel)};
}

tl::expected<std::unique_ptr<manager::Store>, std::string> open_store(const Options& options) {
  if (options.memory) return std::make_unique<manager::NullStore>();
  const auto path = options.store.empty() ? state_file("store.db") : options.store;
  if (path.empty()) {
    return tl::unexpected<std::string>("no path for the store: set HOME or XDG_STATE_HOME, or use --store FILE");
  }
  auto store = manager::SqliteStore::open(
      path,
      {.makes_folder = options.store.empty(), .accepts_loss = options.accept_loss, .warn = [](std::string_view what) {
         std::fputs(fmt::format("kvelsh: warning: {}\n", what).c_str(), stderr);
       }});
  if (store) return std::move(*store);
  if (store.error().fault != manager::StoreFault::busy) return tl::unexpected(store.error().message);
  return tl::unexpected(
      fmt::format("{}\nIf a kvelmgrd has it open, connect to that; otherwise run the manager as a process of its own:\n"
                  "  kvelmgrd --store {} --socket SOCKET\n"
                  "  kvelsh --connect SOCKET",
                  store.error().message, path.string()));
}

}  // namespace

tl::expected<Backend, std::string> open_backend(const Options& options) {
  if (!options.connect.empty()) return connect(options);
  auto store = open_store(options);
  if (!store) return tl::unexpected(store.error());
  auto manager = manager::Manager::open(std::move(*store), [](std::string_view failure) {
    std::fputs(fmt::format("kvelsh: {}\n", failure).c_str(), stderr);
  });
  if (!manager) return tl::unexpected(manager.error().message);
  auto channel = std::make_unique<rpc::EmbeddedChannel>(**manager);
  return Backend{std::move(*manager), std::move(channel)};
}

}  // namespace kvel::shell
