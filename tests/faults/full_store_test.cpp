// A full store: commands fail and report it, what was acknowledged stays, and free space makes writing work
// again.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <asio.hpp>
#include <cerrno>
#include <cstring>
#include <functional>
#include <thread>

#include "kvel/rpc.h"
#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "rpc/server/server.h"
#include "tests/faults/daemon.h"
#include "tests/faults/inventory.h"
#include "tests/faults/length.h"
#include "tests/faults/remote_service.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::faults::full_store_test {
namespace {

using manager::testing::Folder;
using Kind = Step::Kind;

// A client that fills the store.
class Filler {
 public:
  // Until a change is refused; the status of that.
  Status fill(rpc::Service& service) {
    for (int tries = 0; tries < 100'000; ++tries) {
      const Step step = next();
      const Status status = carry_out(service, 0, step);
      if (status != Status::ok) return status;
      known_.apply(step);
      ++done_;
    }
    ADD_FAILURE() << "the store never filled up";
    return Status::ok;
  }
  void one_more(rpc::Service& service) {
    const Step step = next();
    ASSERT_EQ(carry_out(service, 0, step), Status::ok);
    known_.apply(step);
    ++done_;
  }
  void drop(rpc::Service& service, int number) {
    const Step step{Kind::drop_class, name(number)};
    ASSERT_EQ(carry_out(service, 0, step), Status::ok);
    known_.apply(step);
  }
  void compare(rpc::Service& service) { ASSERT_EQ(records_of(service, 0, ""), known_.records()); }
  [[nodiscard]] int done() const { return done_; }

 private:
  static std::string name(int number) { return fmt::format("class-{:06}", number); }
  // Each class-map gets a long description.
  [[nodiscard]] Step next() const {
    if (done_ % 2 == 0) return {Kind::make_class, name(done_ / 2)};
    return {Kind::describe_class, name(done_ / 2), std::string(240, 'd')};
  }

  Inventory known_;
  int done_ = 0;
};

void expect_full(Status status) {
  EXPECT_EQ(status, Status::store_full);
  EXPECT_STREQ(syserr2str(static_cast<std::int32_t>(status)), "the configuration store is full; nothing was changed");
}

// A manager in this process on a real socket.
class Server {
 public:
  Server(rpc::Service& service, const std::string& socket)
      : server_(io_, service, *rpc::parse_address(socket), {}, {}) {
    const auto listening = server_.listen();
    EXPECT_TRUE(listening) << listening.error();
    thread_ = std::thread([this] { io_.run(); });
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server() {
    asio::post(io_, [this] { server_.stop(); });
    thread_.join();
  }

 private:
  asio::io_context io_{1};
  rpc::Server server_;
  std::thread thread_;
};

TEST(FullStore, LimitedInPages) {
  const Folder folder;
  Filler filler;
  {
    const auto manager = manager::Manager::open(manager::testing::open_store(folder / "kvel.db",
                                                                             {.page_limit = short_or_long(40U, 2000U)}))
                             .value();
    const Server server(*manager, (folder / "socket").native());
    RemoteService client((folder / "socket").native());
    expect_full(filler.fill(client));
    EXPECT_GT(filler.done(), 100);
    for (int again = 0; again < 20; ++again)
      expect_full(filler.fill(client));
    ASSERT_NO_FATAL_FAILURE(filler.compare(client));
    // A removal frees space: more than is filled again, since in a large tree of pages its inside may need some too.
    for (int number = 0; number < short_or_long(40, 80); ++number)
      ASSERT_NO_FATAL_FAILURE(filler.drop(client, number));
    for (int more = 0; more < 40; ++more)
      ASSERT_NO_FATAL_FAILURE(filler.one_more(client));
    ASSERT_NO_FATAL_FAILURE(filler.compare(client));
  }
  const auto manager = manager::Manager::open(manager::testing::open_store(folder / "kvel.db")).value();
  ASSERT_NO_FATAL_FAILURE(filler.compare(*manager));
}

// What is common to the tests of a daemon: full, killed while full, full again, and space freed at last.
template <class FreeSpace>
void fill_kill_and_go_on(Daemon& daemon, FreeSpace free_space, const std::function<void(Status)>& expect_refusal) {
  Filler filler;
  ASSERT_NO_FATAL_FAILURE(daemon.start());
  {
    RemoteService client(daemon.socket());
    expect_refusal(filler.fill(client));
    EXPECT_GT(filler.done(), 15);
    for (int again = 0; again < 20; ++again)
      expect_refusal(filler.fill(client));
    ASSERT_NO_FATAL_FAILURE(filler.compare(client));
    free_space();
    for (int more = 0; more < 40; ++more)
      ASSERT_NO_FATAL_FAILURE(filler.one_more(client));
    ASSERT_NO_FATAL_FAILURE(filler.compare(client));
  }
  daemon.kill();
  ASSERT_NO_FATAL_FAILURE(daemon.start());
  RemoteService client(daemon.socket());
  ASSERT_NO_FATAL_FAILURE(filler.compare(client));
  ASSERT_NO_FATAL_FAILURE(filler.one_more(client));
  EXPECT_EQ(daemon.stop(), 0);
}

// A file system with little space, mounted over a folder.
class SmallDisk {
 public:
  explicit SmallDisk(std::string folder) : folder_(std::move(folder)) {
    mounted_ = ::mount("none", folder_.c_str(), "tmpfs", 0, short_or_long("size=1m", "size=4m")) == 0;
    error_ = errno;
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  ~SmallDisk() {
    if (mounted_) {
      EXPECT_EQ(::umount(folder_.c_str()), 0);
    }
  }
  [[nodiscard]] bool is_mounted() const { return mounted_; }
  [[nodiscard]] std::string error() const { return std::strerror(error_); }

 private:
  std::string folder_;
  bool mounted_ = false;
  int error_ = 0;
};

TEST(FullStore, FullDisk) {
  const Folder folder;
  const SmallDisk disk(folder.path().native());
  // The failing disk and the limit on files, below, fill a store where nothing can be mounted.
  if (!disk.is_mounted()) GTEST_SKIP() << "a small file system cannot be mounted here: " << disk.error();
  manager::testing::write_file(folder / "ballast", std::string(700'000, 'x'));
  Daemon daemon(folder.path());
  ASSERT_NO_FATAL_FAILURE(fill_kill_and_go_on(
      daemon, [&] { std::filesystem::remove(folder / "ballast"); }, expect_full));
}

// The system lets no file of the manager grow. It lives on; how the refusal is called depends on how much of the last
// write still found space.
TEST(FullStore, FilesThatMayNotGrow) {
  const Folder folder;
  Daemon daemon(folder.path());
  ASSERT_NO_FATAL_FAILURE(daemon.start());
  EXPECT_EQ(daemon.stop(), 0);
  // Inherited by the manager; each start gets it.
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit low{short_or_long<rlim_t>(150'000, 2'000'000), before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &low), 0);
  fill_kill_and_go_on(
      daemon,
      [&] {
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        ASSERT_EQ(::prlimit(daemon.process().pid(), RLIMIT_FSIZE, &before, nullptr), 0);
      },
      [](Status status) { EXPECT_TRUE(status == Status::store_full || status == Status::store_failed); });
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
}

}  // namespace
}  // namespace kvel::faults::full_store_test
