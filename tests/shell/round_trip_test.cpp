// Configurations made at random from the grammar: what "show running-config" prints, replayed on an empty store, gives
// the same configuration, byte for byte the same text. New commands of the grammar are covered without a change here.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>
#include <set>

#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "manager/store/sqlite_store.h"
#include "rpc/client/client.h"
#include "rpc/client/embedded_channel.h"
#include "shell/grammar/grammar.h"
#include "shell/matcher/generate.h"
#include "shell/plugin/plugin.h"
#include "shell/session/session.h"
#include "tests/shell/process.h"
#include "tests/shell/stdout_capture.h"

namespace kvel::shell::round_trip_test {
namespace {

// A session on a manager of its own.
class Shell {
 public:
  explicit Shell(std::unique_ptr<manager::Store> store)
      : manager_(*manager::Manager::open(std::move(store))),
        channel_(*manager_),
        installed_(channel_),
        plugin_(*Plugin::load(KVEL_PLUGIN, shell_grammar().handlers(), shell_grammar().hooks())),
        session_(shell_grammar(), plugin_, 0, 1) {}

  Execution execute(std::string_view line) { return session_.execute(line); }
  [[nodiscard]] ModeStack modes() const { return session_.modes(); }
  [[nodiscard]] std::vector<std::string> names(std::string_view hook) const { return session_.object_names(hook, ""); }

  std::string running_config() {
    session_.leave_modes();
    test::StdoutCapture capture;
    EXPECT_EQ(session_.execute("show running-config").outcome, Outcome::done);
    return capture.take();
  }

  // Every line must succeed.
  void replay(const std::string& config) {
    std::size_t start = 0;
    while (start < config.size()) {
      const std::size_t end = config.find('\n', start);
      const std::string line = config.substr(start, end - start);
      const Execution execution = session_.execute(line);
      EXPECT_EQ(execution.outcome, Outcome::done) << line << "\n" << execution.error_message;
      start = end + 1;
    }
  }

 private:
  std::unique_ptr<manager::Manager> manager_;
  rpc::EmbeddedChannel channel_;
  rpc::InstalledChannel installed_;
  Plugin plugin_;
  Session session_;
};

// Types lines made at random: mostly names of objects that exist, and else of a small pool, so that commands meet
// objects of other types too.
class RandomOperator {
 public:
  explicit RandomOperator(std::uint32_t seed)
      : random_(seed), generator_(shell_grammar(), seed, [this](const Symbol& symbol, std::mt19937& random) {
          return value_of(symbol, random);
        }) {}

  void type_lines(Shell& shell, int count) {
    shell_ = &shell;
    test::StdoutCapture errors;  // many lines are refused, as they should be
    for (int line = 0; line < count; ++line)
      type_one(shell);
    static_cast<void>(errors.take());
    shell_ = nullptr;
  }

  // The kinds of record that a line has created.
  [[nodiscard]] const std::set<std::string_view>& recorded() const { return recorded_; }

 private:
  void type_one(Shell& shell) {
    // More of them in the inner modes, which take several lines to reach.
    const std::size_t depth = shell.modes().size();
    const ModeId mode = shell.modes()[std::max(random_() % depth, random_() % depth)].mode;
    std::vector<const Command*> commands;
    for (const Command& command : shell_grammar().commands()) {
      const bool here = std::find(command.modes.begin(), command.modes.end(), mode) != command.modes.end();
      if (here) commands.push_back(&command);
    }
    const Command& command = *commands.at(random_() % commands.size());
    const bool negated = command.negatable && (!command.positive || random_() % 5 == 0);
    const GeneratedLine line = generator_.line(command, mode, negated);
    const bool done = shell.execute(line.line).outcome == Outcome::done;
    if (done && !negated && !command.record.empty()) recorded_.insert(command.record);
  }

  std::string value_of(const Symbol& symbol, std::mt19937& random) const {
    static const std::vector<std::string> names{
        "web",        "class-map",   "match-any",         "t",   "type", "no",   "a b",
        "\"quoted\"", "back\\slash", "\xC3\xA9t\xC3\xA9", "x;y", "p|q",  "exit", "description",
        "!",          "a#",          std::string(64, 'n')};
    static const std::vector<std::string> expressions{"/images/.*", "a|b", "\\.(png|gif)$", "x \"y\"", "[",
                                                      "value",      "no",  "Host"};
    if (!symbol.hook.empty() && random() % 2 == 0) {
      const std::vector<std::string> existing = shell_->names(symbol.hook);
      if (!existing.empty()) return existing[random() % existing.size()];
    }
    if (symbol.kind == SymbolKind::name && random() % 10 != 0) return names[random() % names.size()];
    if (symbol.kind == SymbolKind::string && random() % 10 != 0) return expressions[random() % expressions.size()];
    return LineGenerator::nasty_string(shell_grammar(), symbol.high, random);
  }

  std::mt19937 random_;
  LineGenerator generator_;
  Shell* shell_ = nullptr;
  std::set<std::string_view> recorded_;
};

constexpr int kLines = 2000;

class RoundTrip : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(RoundTrip, ARunningConfigReplayedGivesItself) {
  std::string config;
  {
    Shell shell(std::make_unique<manager::NullStore>());
    RandomOperator(GetParam()).type_lines(shell, kLines);
    config = shell.running_config();
  }
  EXPECT_NE(config, "");
  Shell empty(std::make_unique<manager::NullStore>());
  empty.replay(config);
  EXPECT_EQ(empty.running_config(), config);
}

TEST_P(RoundTrip, ARestartChangesNothing) {
  const test::TemporaryFolder folder;
  std::string config;
  {
    Shell shell(*manager::SqliteStore::open(folder.file("store")));
    RandomOperator(GetParam()).type_lines(shell, 200);
    config = shell.running_config();
  }
  Shell again(*manager::SqliteStore::open(folder.file("store")));
  EXPECT_EQ(again.running_config(), config);
}

// So that the round trips cover the grammar: together their lines create records of every kind.
TEST(RoundTripLines, MakeEveryKindOfRecord) {
  std::set<std::string_view> wanted;
  for (const Command& command : shell_grammar().commands()) {
    if (!command.record.empty()) wanted.insert(command.record);
  }
  std::set<std::string_view> recorded;
  for (std::uint32_t seed = 1; seed < 21; ++seed) {
    Shell shell(std::make_unique<manager::NullStore>());
    RandomOperator typist(seed);
    typist.type_lines(shell, kLines);
    recorded.insert(typist.recorded().begin(), typist.recorded().end());
  }
  std::vector<std::string_view> missing;
  std::set_difference(wanted.begin(), wanted.end(), recorded.begin(), recorded.end(), std::back_inserter(missing));
  EXPECT_EQ(missing, std::vector<std::string_view>{});
}

INSTANTIATE_TEST_SUITE_P(Seeds, RoundTrip, ::testing::Range(1U, 21U));

}  // namespace
}  // namespace kvel::shell::round_trip_test
