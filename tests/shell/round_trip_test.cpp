// Configurations made at random from the grammar: what "show running-config" prints, replayed on an empty store, gives
// the same configuration, byte for byte the same text. New commands of the grammar are covered without a change here.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>

#include "manager/service/manager.h"
#include "manager/store/memory_store.h"
#include "manager/store/sqlite_store.h"
#include "rpc/client/client.h"
#include "rpc/client/embedded_channel.h"
#include "shell/grammar/grammar.h"
#include "shell/matcher/generate.h"
#include "shell/plugin/plugin.h"
#include "shell/session/session.h"
#include "tests/shell/process.h"
#include "tests/shell/stdout_capture.h"

namespace kvel::shell {
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
  [[nodiscard]] ModeId mode() const { return session_.modes().back().mode; }

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
      EXPECT_EQ(execution.outcome, Outcome::done) << line << "\n" << execution.complaint;
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

// Types lines made at random: mostly names of a small pool, so that commands meet objects that exist, of other types
// too.
class RandomOperator {
 public:
  explicit RandomOperator(std::uint32_t seed)
      : random_(seed), generator_(shell_grammar(), seed, [this](const Symbol& symbol, std::mt19937& random) {
          return value_of(symbol, random);
        }) {}

  void type_lines(Shell& shell, int count) {
    test::StdoutCapture errors;  // many lines are refused, as they should be
    for (int line = 0; line < count; ++line)
      type_one(shell);
    static_cast<void>(errors.take());
  }

 private:
  void type_one(Shell& shell) {
    const ModeId mode = random_() % 3 == 0 ? Grammar::kTopMode : shell.mode();
    std::vector<const Form*> forms;
    for (const Form& form : shell_grammar().forms()) {
      const bool here = std::find(form.modes.begin(), form.modes.end(), mode) != form.modes.end();
      if (here && !form.handler.empty()) forms.push_back(&form);
    }
    const Form& form = *forms.at(random_() % forms.size());
    const bool negated = form.negatable && (!form.positive || random_() % 5 == 0);
    const GeneratedLine line = generator_.line(form, mode, negated);
    static_cast<void>(shell.execute(line.line));
  }

  std::string value_of(const Symbol& symbol, std::mt19937& random) const {
    static const std::vector<std::string> names{
        "web",        "class-map",   "match-any",         "t",   "type", "no",   "a b",
        "\"quoted\"", "back\\slash", "\xC3\xA9t\xC3\xA9", "x;y", "p|q",  "exit", "description",
        "!",          "a#",          std::string(64, 'n')};
    static const std::vector<std::string> expressions{"/images/.*", "a|b", "\\.(png|gif)$", "x \"y\"", "[",
                                                      "value",      "no",  "Host"};
    if (symbol.kind == SymbolKind::name && random() % 10 != 0) return names[random() % names.size()];
    if (symbol.kind == SymbolKind::string && random() % 10 != 0) return expressions[random() % expressions.size()];
    return LineGenerator::nasty_string(shell_grammar(), symbol.high, random);
  }

  std::mt19937 random_;
  LineGenerator generator_;
};

class RoundTrip : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(RoundTrip, ARunningConfigReplayedGivesItself) {
  std::string config;
  {
    Shell shell(std::make_unique<manager::MemoryStore>());
    RandomOperator(GetParam()).type_lines(shell, 300);
    config = shell.running_config();
  }
  EXPECT_NE(config, "");
  Shell empty(std::make_unique<manager::MemoryStore>());
  empty.replay(config);
  EXPECT_EQ(empty.running_config(), config);
}

TEST_P(RoundTrip, ARestartChangesNothing) {
  const test::TemporaryFolder folder;
  std::string config;
  {
    Shell shell(*manager::SqliteStore::open(folder.file("store")));
    RandomOperator(GetParam()).type_lines(shell, 60);
    config = shell.running_config();
  }
  Shell again(*manager::SqliteStore::open(folder.file("store")));
  EXPECT_EQ(again.running_config(), config);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RoundTrip, ::testing::Range(1U, 21U));

}  // namespace
}  // namespace kvel::shell
