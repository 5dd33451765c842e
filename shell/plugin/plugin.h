// The loaded plug-in: its handlers and completion hooks by symbol name.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <unordered_map>
#include <vector>

#include "kvel/plugin.h"

namespace kvel::shell {

class Plugin {
 public:
  // Loads the shared object and resolves every symbol of the two lists; a missing one is an error that names it.
  // Handlers and hooks that are not in the lists cannot be called. The symbols have static storage.
  [[nodiscard]] static tl::expected<Plugin, std::string> load(std::filesystem::path file,
                                                              std::vector<std::string_view> handlers,
                                                              std::vector<std::string_view> hooks);

  Plugin(Plugin&& other) noexcept;
  Plugin& operator=(Plugin&& other) noexcept;
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;
  ~Plugin();

  // Unloads the shared object and loads it again, for commands that must start with a fresh module. On failure nothing
  // is loaded and every later call fails.
  [[nodiscard]] tl::expected<void, std::string> reload();

  // The function of a symbol of the lists; null for any other.
  [[nodiscard]] KvelHandler* handler(std::string_view symbol) const;

  // The names that a completion hook answers, in its order; empty when it answers none.
  [[nodiscard]] std::vector<std::string> complete(std::string_view hook, int context) const;

 private:
  Plugin() = default;
  [[nodiscard]] tl::expected<void, std::string> open();
  void close() noexcept;

  std::filesystem::path file_;
  std::vector<std::string_view> handler_symbols_;
  std::vector<std::string_view> hook_symbols_;
  void* library_ = nullptr;
  std::unordered_map<std::string_view, void*> functions_;
};

// Where the plug-in lies beside the running program: ../lib/kvel/libkvelcli.so from the program's own folder.
[[nodiscard]] std::filesystem::path default_plugin_file();

}  // namespace kvel::shell
