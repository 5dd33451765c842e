// Loading the plug-in and calling into it.
#include "shell/plugin/plugin.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <cstdint>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace kvel::shell {

tl::expected<Plugin, std::string> Plugin::load(std::filesystem::path file, std::vector<std::string_view> handlers,
                                               std::vector<std::string_view> hooks) {
  Plugin plugin;
  // A name without a folder would be looked for among the libraries of the system.
  plugin.file_ = file.has_parent_path() ? std::move(file) : "." / file;
  plugin.handler_symbols_ = std::move(handlers);
  plugin.hook_symbols_ = std::move(hooks);
  if (auto opened = plugin.open(); !opened) return tl::unexpected(opened.error());
  return plugin;
}

Plugin::Plugin(Plugin&& other) noexcept
    : file_(std::move(other.file_)),
      handler_symbols_(std::move(other.handler_symbols_)),
      hook_symbols_(std::move(other.hook_symbols_)),
      library_(std::exchange(other.library_, nullptr)),
      functions_(std::move(other.functions_)) {}

Plugin& Plugin::operator=(Plugin&& other) noexcept {
  std::swap(file_, other.file_);
  std::swap(handler_symbols_, other.handler_symbols_);
  std::swap(hook_symbols_, other.hook_symbols_);
  std::swap(library_, other.library_);
  std::swap(functions_, other.functions_);
  return *this;
}

Plugin::~Plugin() { close(); }

tl::expected<void, std::string> Plugin::open() {
  library_ = dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) return tl::unexpected(fmt::format("the plug-in cannot be loaded: {}", dlerror()));
  for (const auto* symbols : {&handler_symbols_, &hook_symbols_}) {
    for (const std::string_view symbol : *symbols) {
      void* function = dlsym(library_, std::string(symbol).c_str());
      if (function == nullptr) {
        close();
        return tl::unexpected(
            fmt::format("the plug-in {} does not export {}, which the grammar names", file_.string(), symbol));
      }
      functions_[symbol] = function;
    }
  }
  return {};
}

void Plugin::close() noexcept {
  functions_.clear();
  if (library_ != nullptr) dlclose(library_);
  library_ = nullptr;
}

tl::expected<void, std::string> Plugin::reload() {
  close();
  return open();
}

KvelHandler* Plugin::handler(std::string_view symbol) const {
  const auto found = functions_.find(symbol);
  return found == functions_.end() ? nullptr : reinterpret_cast<KvelHandler*>(found->second);
}

std::vector<std::string> Plugin::complete(std::string_view hook, int context) const {
  const auto found = functions_.find(hook);
  if (found == functions_.end()) return {};
  CliCommand command{};
  command.context_id = static_cast<std::int16_t>(context);
  CompletionList* list = reinterpret_cast<KvelCompletionHook*>(found->second)(0, &command);
  if (list == nullptr) return {};
  std::vector<std::string> names;
  names.reserve(list->count);
  for (std::uint32_t index = 0; index < list->count; ++index) {
    CompletionEntry* entry = list->entries[index];
    names.emplace_back(entry->name);
    std::free(entry->name);
    std::free(entry->help);
    std::free(entry);
  }
  std::free(list->entries);
  std::free(list);
  return names;
}

std::filesystem::path default_plugin_file() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return (program.parent_path() / "../lib/kvel/libkvelcli.so").lexically_normal();
}

}  // namespace kvel::shell
