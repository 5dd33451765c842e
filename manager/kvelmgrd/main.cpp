// kvelmgrd: the classification manager on its own, for shells that connect to it.
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "manager/kvelmgrd/late_service.h"
#include "manager/kvelmgrd/log.h"
#include "manager/kvelmgrd/settling.h"
#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "manager/store/store_backup.h"
#include "process/command_line.h"
#include "process/signals.h"
#include "process/startup.h"
#include "rpc/server/server.h"
#include "rpc/wire/address.h"

namespace {

using namespace kvel;

constexpr int kNoBackup = 1;

struct Options {
  std::filesystem::path store;
  std::string socket;
  std::filesystem::path backup;
  bool accept_loss = false;
  std::string log_level = "info";
  rpc::ServerOptions server;
  unsigned answer_seconds = 60;
};

int cannot_start(std::string_view why) {
  spdlog::critical("cannot start: {}", why);
  return kCannotStart;
}

void log_from_server(rpc::LogLevel level, std::string_view text) {
  switch (level) {
    case rpc::LogLevel::debug:
      return spdlog::debug("{}", text);
    case rpc::LogLevel::info:
      return spdlog::info("{}", text);
    case rpc::LogLevel::warning:
      return spdlog::warn("{}", text);
  }
}

int back_up(const Options& options) {
  const auto done = manager::back_up_store(options.store, options.backup);
  if (done) return 0;
  spdlog::critical("no backup: {}", done.error().message);
  return kNoBackup;
}

int serve(const Options& options) {
  const auto address = rpc::parse_address(options.socket);
  if (!address) return cannot_start(address.error());
  // The socket comes first: a manager whose place is taken makes no store. Calls wait until the loop runs.
  asio::io_context io(1);
  LateService late_service;
  rpc::Server server(io, late_service, *address, options.server, log_from_server);
  if (auto listening = server.listen(); !listening) return cannot_start(listening.error());

  auto store = manager::SqliteStore::open(
      options.store,
      {.accepts_loss = options.accept_loss, .warn = [](std::string_view what) { spdlog::warn("{}", what); }});
  if (!store) return cannot_start(store.error().message);
  manager::SqliteStore& settled = **store;
  auto service =
      manager::Manager::open(std::move(*store), [](std::string_view failure) { spdlog::error("{}", failure); });
  if (!service) return cannot_start(service.error().message);
  late_service.bind(**service);
  Settling settling(io, settled, [](std::string_view failure) { spdlog::warn("{}", failure); });

  asio::signal_set signals(io);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    if (!is_ignored(signal)) signals.add(signal);
  }
  signals.async_wait([&](const asio::error_code& error, int signal) {
    if (error) return;
    spdlog::info("stopping on signal {}", signal);
    server.stop();
    settling.stop();
  });
  spdlog::info("serving {} at {}", options.store.string(), options.socket);
  io.run();
  spdlog::info("stopped");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  prepare_process();
  std::signal(SIGPIPE, SIG_IGN);
  Options options;
  CommandLine line(
      "kvelmgrd", KVEL_VERSION,
      "kvelmgrd, the classification manager of kvel: owns the configuration in one store and serves it to kvelsh "
      "--connect and to other clients. Runs in the foreground, logs to standard error, stops cleanly on SIGTERM, "
      "SIGINT and SIGHUP.\n"
      "With --backup it only copies the store, also beside the kvelmgrd that runs on it.\n"
      "Exit status: 0 after a clean stop or a backup, 1 when a backup could not be made, 2 for wrong usage or when it "
      "cannot start.");
  line.add("--store", options.store,
           "The file that keeps the configuration, made when missing; its folder has to exist")
      .type("FILE")
      .required();
  auto socket =
      line.add("--socket", options.socket, "The address to listen at: unix:PATH or PATH; the socket has mode 0660")
          .not_empty()
          .type("ADDRESS");
  auto backup = line.add("--backup", options.backup, "Copy the configuration to this new file, and exit")
                    .not_empty()
                    .type("FILE")
                    .excludes(socket);
  line.add("--accept-loss", options.accept_loss,
           "Serve a store whose last changes are lost with a damaged log, without them; else it is refused")
      .excludes(backup);
  line.add("--log-level", options.log_level, "What is logged at least (default: info)")
      .one_of({"debug", "info", "warning", "error", "off"});
  line.add("--max-sessions", options.server.max_sessions, "How many clients are served at once (default: 256)")
      .range(1, 10000)
      .type("N");
  line.add("--answer-time", options.answer_seconds,
           "Seconds that a client has to take each MiB of an answer, or the rest; then it is given up (default: 60)")
      .range(1, 86400)
      .type("SECONDS");
  line.add("--answer-memory", options.server.answer_memory,
           "How much memory answers take that wait for their clients, as 500k, 64M or 1G; above it new requests wait "
           "(default: 64M)")
      .size()
      .type("SIZE");
  if (const auto status = line.parse(argc, argv)) return *status;
  if (options.socket.empty() && options.backup.empty()) {
    std::fputs("--socket or --backup is required\nRun with --help for more information.\n", stderr);
    return kCannotStart;
  }

  options.server.answer_time = std::chrono::seconds(options.answer_seconds);
  const Log log(STDERR_FILENO);
  spdlog::set_default_logger(log.logger());
  spdlog::set_level(spdlog::level::from_str(options.log_level));
  return options.backup.empty() ? serve(options) : back_up(options);
}
