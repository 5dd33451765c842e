// kvelmgrd as a program, and the shell connected to it: the same as with the manager inside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <thread>

#include "tests/shell/process.h"

namespace kvel::test::manager_daemon_test {
namespace {

using ::testing::HasSubstr;

// A daemon on a store and a socket in a folder of its own, ready to serve.
class Daemon {
 public:
  Daemon() { start(); }

  void start() {
    process_ = std::make_unique<Background>(
        KVEL_KVELMGRD, std::vector<std::string>{"--store", store(), "--socket", socket(), "--log-level", "debug"});
    EXPECT_TRUE(process_->printed("serving "));
  }
  int stop() {
    process_->signal(SIGTERM);
    return process_->wait();
  }
  void kill() {
    process_->signal(SIGKILL);
    process_->wait();
    unlink(socket().c_str());
  }

  [[nodiscard]] std::string store() const { return folder_.file("store.db"); }
  [[nodiscard]] std::string socket() const { return folder_.file("socket"); }
  Background& process() { return *process_; }
  Finished shell(const std::string& commands) { return run_kvelsh({"--connect", socket(), "-c", commands}); }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<Background> process_;
};

constexpr const char* kCommands =
    "class-map match-any web; description \"a; b\"; class-map type management match-any ops; no class-map missing; "
    "class-map type ftp-inspection web; no class-map type management ops; class-map \"with blanks\"; "
    "description x; no description; show running-config; show running-config | xml; show running-config | json";

TEST(ManagerDaemon, TheShellIsTheSameConnectedAsEmbedded) {
  Daemon daemon;
  const Finished remote = daemon.shell(kCommands);
  const Finished embedded = run_kvelsh({"--memory", "-c", kCommands});
  EXPECT_THAT(embedded.out, HasSubstr("class-map match-any web\n  description a; b\n"));
  EXPECT_EQ(remote.out, embedded.out);
  EXPECT_EQ(remote.err, embedded.err);
  EXPECT_EQ(remote.status, embedded.status);
}

TEST(ManagerDaemon, StopsCleanlyAndKeepsEverything) {
  Daemon daemon;
  struct stat info {};
  ASSERT_EQ(stat(daemon.socket().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777U, 0660U);
  EXPECT_EQ(daemon.shell("class-map web").status, 0);
  EXPECT_EQ(daemon.stop(), 0);
  EXPECT_FALSE(std::filesystem::exists(daemon.socket()));
  EXPECT_EQ(run_kvelsh({"--store", daemon.store(), "-c", "show running-config"}).out, "class-map match-all web\n");
}

TEST(ManagerDaemon, WhatWasAcknowledgedOutlivesAKill) {
  Daemon daemon;
  EXPECT_EQ(daemon.shell("class-map web; description kept").status, 0);
  daemon.kill();
  daemon.start();
  EXPECT_EQ(daemon.shell("show running-config").out, "class-map match-all web\n  description kept\n");
}

TEST(ManagerDaemon, ASecondManagerOnTheStoreOrTheSocketIsRefused) {
  Daemon daemon;
  const TemporaryFolder folder;
  const Finished same_store =
      run_program(KVEL_KVELMGRD, {"--store", daemon.store(), "--socket", folder.file("socket")});
  EXPECT_EQ(same_store.status, 2);
  EXPECT_THAT(same_store.err, HasSubstr(daemon.store()));
  const Finished same_socket =
      run_program(KVEL_KVELMGRD, {"--store", folder.file("store"), "--socket", daemon.socket()});
  EXPECT_EQ(same_socket.status, 2);
  EXPECT_THAT(same_socket.err, HasSubstr(daemon.socket()));
  EXPECT_FALSE(std::filesystem::exists(folder.file("store"))) << "it has no use for a store";
  EXPECT_FALSE(std::filesystem::exists(folder.file("socket")));
  EXPECT_EQ(daemon.shell("show running-config").status, 0);  // the first one serves on
}

TEST(ManagerDaemon, WrongUsageIs2) {
  EXPECT_EQ(run_program(KVEL_KVELMGRD, {}).status, 2);
  const Finished purposeless = run_program(KVEL_KVELMGRD, {"--store", "x"});
  EXPECT_EQ(purposeless.status, 2);
  EXPECT_EQ(purposeless.err, "--socket or --backup is required\nRun with --help for more information.\n");
  EXPECT_EQ(run_program(KVEL_KVELMGRD, {"--backup", "x"}).status, 2);
  EXPECT_EQ(run_program(KVEL_KVELMGRD, {"--store", "x", "--socket", "y", "--backup", "z"}).status, 2);
  EXPECT_EQ(run_program(KVEL_KVELMGRD, {"--store", "x", "--backup", "z", "--accept-loss"}).status, 2);
  EXPECT_EQ(run_program(KVEL_KVELMGRD, {"--store", "x", "--socket", "y", "--log-level", "loud"}).status, 2);
  EXPECT_EQ(run_program(KVEL_KVELMGRD, {"--help"}).status, 0);
}

TEST(ManagerDaemon, WhatCannotStartMakesNothing) {
  const TemporaryFolder folder;
  const Finished no_store_folder =
      run_program(KVEL_KVELMGRD, {"--store", folder.file("stroe/kvel.db"), "--socket", folder.file("socket")});
  EXPECT_EQ(no_store_folder.status, 2);
  EXPECT_THAT(no_store_folder.err, HasSubstr("store " + folder.file("stroe/kvel.db") + ": its folder does not exist"));
  const Finished no_socket_folder =
      run_program(KVEL_KVELMGRD, {"--store", folder.file("kvel.db"), "--socket", folder.file("run/socket")});
  EXPECT_EQ(no_socket_folder.status, 2);
  EXPECT_THAT(no_socket_folder.err, HasSubstr("cannot listen on " + folder.file("run/socket")));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

// Waits for the log of a store to be empty, for ten seconds at most.
bool is_settled(const std::string& store) {
  for (int attempt = 0; attempt < 1000; ++attempt) {
    if (read_file(store + "-wal").empty()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

TEST(ManagerDaemon, TheLogIsMovedIntoTheFileWhenNothingHappens) {
  Daemon daemon;
  EXPECT_EQ(daemon.shell("class-map web").status, 0);
  EXPECT_NE(read_file(daemon.store() + "-wal"), "");
  EXPECT_TRUE(is_settled(daemon.store()));
  EXPECT_EQ(daemon.shell("class-map mail").status, 0);
  EXPECT_TRUE(is_settled(daemon.store()));
  daemon.kill();
  // Everything is in the one file then.
  std::filesystem::remove(daemon.store() + "-wal");
  std::filesystem::remove(daemon.store() + "-mark");
  EXPECT_EQ(run_kvelsh({"--store", daemon.store(), "-c", "show running-config"}).out,
            "class-map match-all mail\nclass-map match-all web\n");
}

TEST(ManagerDaemon, AStoreThatOthersMayWriteIsWarnedAbout) {
  Daemon daemon;
  EXPECT_THAT(daemon.process().err(), ::testing::Not(HasSubstr("others than the owner")));
  EXPECT_EQ(daemon.stop(), 0);
  std::filesystem::permissions(daemon.store(), std::filesystem::perms(0620));
  daemon.start();
  EXPECT_THAT(daemon.process().err(), HasSubstr("others than the owner may write the file (mode 0620)"));
}

TEST(ManagerDaemon, ACleanStopLeavesOneFile) {
  Daemon daemon;
  EXPECT_EQ(daemon.shell("class-map web").status, 0);
  EXPECT_EQ(daemon.stop(), 0);
  EXPECT_TRUE(std::filesystem::exists(daemon.store()));
  EXPECT_FALSE(std::filesystem::exists(daemon.store() + "-wal"));
  EXPECT_FALSE(std::filesystem::exists(daemon.store() + "-mark"));
}

TEST(ManagerDaemon, ALossIsRefusedUnlessItIsAccepted) {
  Daemon daemon;
  for (const char* name : {"one", "two", "three"})
    EXPECT_EQ(daemon.shell(std::string("class-map ") + name).status, 0);
  daemon.kill();
  std::string log = read_file(daemon.store() + "-wal");
  ASSERT_GT(log.size(), 4000U);
  log.back() ^= 1;
  write_file(daemon.store() + "-wal", log);
  const std::string lost = "-wal, is damaged or cut off behind frame 4: the last 1 change is lost";

  const Finished manager = run_program(KVEL_KVELMGRD, {"--store", daemon.store(), "--socket", daemon.socket()});
  EXPECT_EQ(manager.status, 2);
  EXPECT_THAT(manager.err, HasSubstr(lost + "; it was left as it is"));
  EXPECT_THAT(manager.err, HasSubstr("--accept-loss"));
  const Finished shell = run_kvelsh({"--store", daemon.store(), "-c", "show running-config"});
  EXPECT_EQ(shell.status, 2);
  EXPECT_EQ(shell.out, "");
  EXPECT_THAT(shell.err, HasSubstr(lost));

  const Finished accepting = run_kvelsh({"--store", daemon.store(), "--accept-loss", "-c", "show running-config"});
  EXPECT_EQ(accepting.status, 0);
  EXPECT_THAT(accepting.err, HasSubstr(lost + "; going on without them\n"));
  EXPECT_EQ(accepting.out, "class-map match-all one\nclass-map match-all two\n");
  daemon.start();
  EXPECT_EQ(daemon.shell("show running-config").out, accepting.out);
}

TEST(ManagerDaemon, AReplacedStoreIsNoticedAndReadOn) {
  Daemon daemon;
  EXPECT_EQ(daemon.shell("class-map web").status, 0);
  std::filesystem::rename(daemon.store(), daemon.store() + ".away");
  write_file(daemon.store(), "another file");
  const Finished refused = daemon.shell("class-map late");
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("the configuration store"));
  EXPECT_TRUE(daemon.process().printed("another file has been put in its place; no change can be stored"));
  EXPECT_EQ(daemon.shell("show running-config").out, "class-map match-all web\n");
  EXPECT_EQ(daemon.stop(), 0);
  EXPECT_EQ(read_file(daemon.store()), "another file");
}

TEST(ManagerDaemon, BacksUpAStoreThatIsServed) {
  Daemon daemon;
  const TemporaryFolder folder;
  EXPECT_EQ(daemon.shell("class-map web").status, 0);
  const auto back_up = [&](const std::string& file) {
    return run_program(KVEL_KVELMGRD, {"--store", daemon.store(), "--backup", folder.file(file)});
  };
  const Finished done = back_up("one");
  EXPECT_EQ(done.status, 0);
  EXPECT_EQ(done.out + done.err, "");
  EXPECT_TRUE(is_settled(daemon.store()));
  EXPECT_EQ(back_up("two").status, 0);
  for (const char* file : {"one", "two"}) {
    EXPECT_EQ(run_kvelsh({"--store", folder.file(file), "-c", "show running-config"}).out, "class-map match-all web\n");
  }
  const Finished again = back_up("one");
  EXPECT_EQ(again.status, 1);
  EXPECT_THAT(again.err, HasSubstr("no backup: " + folder.file("one") + ": it exists already"));
  EXPECT_EQ(daemon.shell("class-map later").status, 0);
  EXPECT_EQ(daemon.stop(), 0);
  EXPECT_EQ(back_up("three").status, 0);
  EXPECT_EQ(run_kvelsh({"--store", folder.file("three"), "-c", "show running-config"}).out,
            "class-map match-all later\nclass-map match-all web\n");
}

TEST(ManagerDaemon, AManagerThatComesBackIsFound) {
  Daemon daemon;
  Background shell(KVEL_KVELSH, {"--connect", daemon.socket()});
  shell.type("class-map web\nshow running-config\n");
  ASSERT_TRUE(shell.printed("class-map match-all web\n"));
  daemon.kill();
  daemon.start();
  shell.type("class-map found\nshow running-config\n");
  shell.end_input();
  EXPECT_EQ(shell.wait(), 0) << shell.err();
  EXPECT_THAT(shell.out(), HasSubstr("class-map match-all found\nclass-map match-all web\n"));
}

// What is typed in a mode goes to the object that was entered, and to no other one that has its name since.
TEST(ManagerDaemon, ACommandIsNotCarriedOutOnAnObjectMadeAnew) {
  Daemon daemon;
  Background shell(KVEL_KVELSH, {"--connect", daemon.socket()});
  shell.type("class-map web\n  match any\nshow class-map web\n");
  ASSERT_TRUE(shell.printed("   10  any\n"));
  EXPECT_EQ(daemon.shell("no class-map web; class-map type management web").status, 0);
  shell.type("class-map other\n  match any\nshow class-map other\n");
  ASSERT_TRUE(shell.printed("class-map other (layer-3/4, match all)\n   10  any\n"));
  EXPECT_EQ(daemon.shell("no class-map other; class-map other").status, 0);
  shell.type("  match access-list a\n  description mine\nshow class-map\n");
  shell.end_input();
  EXPECT_EQ(shell.wait(), 1);
  EXPECT_THAT(
      shell.err(),
      HasSubstr("standard input:7:3: error: class-map 'other' was deleted and made anew; its mode is left, enter "
                "it again to change the new one\n"));
  EXPECT_EQ(daemon.shell("show running-config").out,
            "class-map match-all other\nclass-map type management match-all web\n");
}

// A manager that was started anew numbers its objects anew; they are the same objects.
TEST(ManagerDaemon, AModeOutlivesTheManager) {
  Daemon daemon;
  Background shell(KVEL_KVELSH, {"--connect", daemon.socket()});
  shell.type("policy-map type http-load-balancing p\n  class class-default\nshow running-config\n");
  ASSERT_TRUE(shell.printed("policy-map type http-load-balancing p\n"));
  shell.type("policy-map type http-load-balancing p\n  class class-default\nhelp\n");
  ASSERT_TRUE(shell.printed("save FILE"));
  daemon.kill();
  daemon.start();
  shell.type("    drop\n  description kept\n");
  shell.end_input();
  EXPECT_EQ(shell.wait(), 0) << shell.err();
  EXPECT_EQ(daemon.shell("show running-config").out,
            "policy-map type http-load-balancing p\n  description kept\n  class class-default\n    drop\n");
}

// Entering says nothing of a match mode, so it leaves the one that another client has just given.
TEST(ManagerDaemon, EnteringByNameNeverChangesTheObject) {
  Daemon daemon;
  EXPECT_EQ(daemon.shell("class-map match-any web; match any").status, 0);
  const Finished entered = daemon.shell("class-map web; description same; show running-config");
  EXPECT_EQ(entered.out, "class-map match-any web\n  description same\n  10 match any\n");
  EXPECT_EQ(entered.err, "");
  EXPECT_EQ(daemon.shell("class-map match-all web").err,
            "-c:1: warning: class-map 'web' is match-all now: the match mode of 1 rule changed\n");
}

// Whoever reports it, the loss is told in the same words; the handler's own follow.
TEST(ManagerDaemon, OneThatIsLostEndsAReplay) {
  struct Loss {
    const char* line;
    const char* marked;
  };
  for (const Loss& loss :
       {Loss{"no parameter-map type ssl lost", "no parameter-map type ssl lost\n^\nError: Transport error\n"},
        Loss{"show class-map", "show class-map\n^\n"}}) {
    Daemon daemon;
    Background shell(KVEL_KVELSH, {"--connect", daemon.socket()});
    shell.type("class-map web\nno class-map missing\nshow running-config\n");
    ASSERT_TRUE(shell.printed("class-map match-all web\n"));
    daemon.kill();
    shell.type(std::string(loss.line) + "\nclass-map after\n");
    shell.end_input();
    EXPECT_EQ(shell.wait(), 1);
    EXPECT_THAT(shell.err(), HasSubstr("standard input:4:1: error: the manager could not be reached: "));
    EXPECT_THAT(shell.err(), ::testing::EndsWith(
                                 std::string(loss.marked) +
                                 "standard input:4: error: the replay ends here, since the manager was lost; 2 lines "
                                 "were carried out\n"));
  }
}

TEST(ManagerDaemon, TheConnectionNeverTakesTheDescriptorOfAClosedStandardStream) {
  Daemon daemon;
  const auto shell = [&](const std::string& rest) {
    return run_program("/bin/sh", {"-c", "\"$0\" --connect \"$1\" " + rest, KVEL_KVELSH, daemon.socket()});
  };
  const Finished no_output = shell("-c 'class-map a; show class-map; class-map b' >&-");
  EXPECT_EQ(no_output.err,
            "-c:2:1: error: the output could not be written\nshow class-map\n^\n"
            "kvelsh: the output could not be written\n");
  EXPECT_EQ(no_output.status, 1);
  const Finished no_input = shell("<&-");
  EXPECT_EQ(no_input.err, "standard input:1: error: cannot read on: Bad file descriptor\n");
  EXPECT_EQ(no_input.status, 1);
  EXPECT_EQ(shell("-c 'no such command; class-map c' 2>&-").status, 1);
  EXPECT_EQ(daemon.shell("show running-config").out,
            "class-map match-all a\nclass-map match-all b\nclass-map match-all c\n");
  EXPECT_EQ(daemon.process().err().find("impossible length"), std::string::npos) << daemon.process().err();
}

TEST(ManagerDaemon, StopsCleanlyOnEverySignalThatEndsIt) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    Daemon daemon;
    daemon.process().signal(signal);
    EXPECT_EQ(daemon.process().wait(), 0) << signal;
    EXPECT_FALSE(std::filesystem::exists(daemon.socket())) << signal;
  }
}

TEST(ManagerDaemon, OutlivesItsTerminalWhenSighupIsIgnored) {
  const TemporaryFolder folder;
  const std::string socket = folder.file("socket");
  const char* const command = "trap '' HUP; exec \"$0\" --store \"$1\" --socket \"$2\"";
  Background daemon("/bin/sh", {"-c", command, KVEL_KVELMGRD, folder.file("store.db"), socket});
  ASSERT_TRUE(daemon.printed("serving "));
  daemon.signal(SIGHUP);
  EXPECT_EQ(run_kvelsh({"--connect", socket, "-c", "class-map web"}).status, 0);
  daemon.signal(SIGTERM);
  EXPECT_EQ(daemon.wait(), 0);
}

// The store is the first file to be opened, and the log would go to its beginning.
TEST(ManagerDaemon, TheLogNeverGoesIntoAFileWithTheDescriptorOfAClosedStandardStream) {
  for (const std::string closed : {"2>&-", "<&- >&- 2>&-"}) {
    const TemporaryFolder folder;
    const std::string store = folder.file("store.db");
    const std::string socket = folder.file("socket");
    ASSERT_EQ(run_kvelsh({"--store", store, "-c", "class-map first"}).status, 0);
    const std::string command = "exec \"$0\" --store \"$1\" --socket \"$2\" --log-level debug " + closed;
    Background daemon("/bin/sh", {"-c", command, KVEL_KVELMGRD, store, socket});
    const auto shell = [&](const std::string& commands) { return run_kvelsh({"--connect", socket, "-c", commands}); };
    for (int attempt = 0; attempt < 600 && shell("").status != 0; ++attempt)
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(shell("class-map second").status, 0) << closed;
    daemon.signal(SIGTERM);
    EXPECT_EQ(daemon.wait(), 0) << closed;
    const Finished reopened = run_kvelsh({"--store", store, "-c", "show running-config"});
    EXPECT_EQ(reopened.out, "class-map match-all first\nclass-map match-all second\n") << closed << reopened.err;
    EXPECT_EQ(reopened.status, 0) << closed;
  }
}

TEST(ManagerDaemon, GarbageOnTheSocketLeavesItServingTheOthers) {
  Daemon daemon;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  daemon.socket().copy(address.sun_path, sizeof address.sun_path - 1);
  const int garbage = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(connect(garbage, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  const std::string bytes(100000, '\xff');
  EXPECT_GT(send(garbage, bytes.data(), bytes.size(), MSG_NOSIGNAL), 0);
  EXPECT_EQ(daemon.shell("class-map web; show running-config").out, "class-map match-all web\n");
  close(garbage);
  EXPECT_EQ(daemon.stop(), 0);
}

}  // namespace
}  // namespace kvel::test::manager_daemon_test
