// The fixture of every test that calls the plug-in: loads it afresh, runs a command or a completion hook by name and
// returns everything that happened.
//
//   TEST_F(ClassMapConfig, MatchAny) {
//     EXPECT_EQ(run("kvelclassmap_config", {{8, "web"}, {9}}),
//               (Events{"bind 2", "domain 5 'web' 0", "call cm_add_or_lookup_classmap(...)", "return 0"}));
//   }
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kvel/plugin.h"
#include "tests/cli/command_record.h"
#include "tests/cli/fake_host.h"
#include "tests/cli/notation.h"
#include "tests/cli/plugin_heap.h"

namespace kvel::cli::test {

// The built plug-in, loaded as a shell loads it and unloaded again.
class Plugin {
 public:
  Plugin();
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;
  ~Plugin();

  // Unloads the library, the values that it remembers with it, and loads it again.
  void reload();

  [[nodiscard]] void* handle() const { return handle_; }
  // An exported function; null when there is none of that name.
  template <class Function>
  [[nodiscard]] Function* function(const std::string& name) const {
    return reinterpret_cast<Function*>(find(name));
  }

 private:
  void load();
  void unload();
  [[nodiscard]] void* find(const std::string& name) const;

  void* handle_ = nullptr;
};

class PluginTest : public testing::Test {
 protected:
  // Each of these is one run: everything from the call to its return. A breach of the contract and an answer not asked
  // for fail the test; so does memory that a handler does not free. What a hook does not free is an event.
  Events run(const std::string& handler, const Tokens& tokens, const Form& form = {});
  Events complete(const std::string& hook, const Form& form = {});
  Events complete_kind(const std::string& hook, std::uint32_t kind, const Form& form = {});
  // A formatter of pages that are handed to it; nothing after `page` can be read.
  Events format_page(const std::string& formatter, std::string_view page);
  Events format_page(const std::string& formatter, const void* page, std::int32_t length);
  Events print_status(const std::string& printer, std::int32_t status);  // no "return" at the end
  // A function that is none of these, and returns nothing.
  template <class... Arguments>
  Events invoke(const std::string& name, Arguments... arguments) {
    auto* function = plugin_.function<void(Arguments...)>(name);
    if (function == nullptr) return {};
    host.begin();
    function(arguments...);
    return finish(host.end());
  }

  // Loads the plug-in afresh in the middle of a test.
  void reload();

  // An exported function to be called in a test's own way.
  template <class Function>
  [[nodiscard]] Function* exported(const std::string& name) const {
    return plugin_.function<Function>(name);
  }

  Host host;

 private:
  void TearDown() override;
  Events finish(Events events);
  std::string take_list(CompletionList* list);

  Plugin plugin_;

 protected:
  PluginHeap heap{plugin_.handle(), host};
};

}  // namespace kvel::cli::test
