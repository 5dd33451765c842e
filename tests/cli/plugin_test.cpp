// Runs handlers and hooks of the built plug-in between the fake host and the watched heap.
#include "tests/cli/plugin_test.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvel::cli::test {

Plugin::Plugin() { load(); }

Plugin::~Plugin() { unload(); }

void Plugin::reload() {
  unload();
  load();
}

void Plugin::load() {
  handle_ = dlopen(KVEL_TEST_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  if (handle_ != nullptr) return;
  std::fputs(dlerror(), stderr);
  std::abort();
}

void Plugin::unload() {
  dlclose(handle_);
  handle_ = dlopen(KVEL_TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD);
  if (handle_ == nullptr) return;
  ADD_FAILURE() << "the plug-in was not unloaded";
  dlclose(handle_);
}

void* Plugin::find(const std::string& name) const {
  void* symbol = dlsym(handle_, name.c_str());
  if (symbol == nullptr) ADD_FAILURE() << "the plug-in does not export " << name;
  return symbol;
}

Events PluginTest::run(const std::string& handler, const Tokens& tokens, const Form& form) {
  auto* function = plugin_.function<KvelHandler>(handler);
  if (function == nullptr) return {};
  const CommandRecord record(tokens, form);
  host.begin();
  const std::int32_t returned = function(record.get());
  Events events = host.end();
  events.push_back("return " + std::to_string(returned));
  return finish(std::move(events));
}

Events PluginTest::print_status(const std::string& printer, std::int32_t status) { return invoke(printer, status); }

void PluginTest::reload() {
  plugin_.reload();
  PluginHeap::watch(plugin_.handle());
}

Events PluginTest::format_page(const std::string& formatter, std::string_view page) {
  GuardedBlock block(page.size());
  std::memcpy(block.data(), page.data(), page.size());
  block.freeze();
  return format_page(formatter, block.data(), static_cast<std::int32_t>(page.size()));
}

Events PluginTest::format_page(const std::string& formatter, const void* page, std::int32_t length) {
  auto* function = plugin_.function<std::int32_t(const void*, std::int32_t)>(formatter);
  if (function == nullptr) return {};
  host.begin();
  const std::int32_t returned = function(page, length);
  Events events = host.end();
  events.push_back("return " + std::to_string(returned));
  return finish(std::move(events));
}

Events PluginTest::complete(const std::string& hook, const Form& form) {
  constexpr std::uint32_t ignored = 0xdeadbeef;
  return complete_kind(hook, ignored, form);
}

Events PluginTest::complete_kind(const std::string& hook, std::uint32_t kind, const Form& form) {
  auto* function = plugin_.function<KvelCompletionHook>(hook);
  if (function == nullptr) return {};
  const HookCommandRecord record(form);
  host.begin();
  CompletionList* list = function(kind, record.get());
  Events events = host.end();
  const std::string returned = "return " + take_list(list);
  if (heap.live() != 0) events.push_back("left " + std::to_string(heap.live()) + " blocks");
  heap.free_all();
  events.push_back(returned);
  return finish(std::move(events));
}

// Describes the list and frees it as the shell does: every string, every pair, the array and the list.
std::string PluginTest::take_list(CompletionList* list) {
  if (list == nullptr) return "null";
  if (heap.size_of(list) != sizeof(CompletionList)) {
    ADD_FAILURE() << "the list is not a block of its own";
    return "?";
  }
  EXPECT_EQ(list->reserved, 0U);
  const auto array_size = heap.size_of(list->entries);
  if (array_size != list->count * sizeof(CompletionEntry*)) {
    ADD_FAILURE() << "the array of " << list->count << " pointers is not a block of its own";
    return "?";
  }
  std::string text = "[";
  for (std::uint32_t index = 0; index < list->count; ++index) {
    CompletionEntry* entry = list->entries[index];
    if (heap.size_of(entry) != sizeof(CompletionEntry) || !heap.size_of(entry->name) ||
        heap.size_of(entry->help) != 1U) {
      ADD_FAILURE() << "pair " << index << ", its name or its help text is not a block of its own";
      return "?";
    }
    EXPECT_STREQ(entry->help, "");
    EXPECT_EQ(heap.size_of(entry->name), std::string_view(entry->name).size() + 1);
    if (index != 0) text += ", ";
    text += quoted(entry->name);
    heap.free(entry->name);
    heap.free(entry->help);
    heap.free(entry);
  }
  heap.free(list->entries);
  heap.free(list);
  return text + "]";
}

Events PluginTest::finish(Events events) {
  if (heap.live() != 0) ADD_FAILURE() << heap.live() << " heap blocks were not freed";
  heap.free_all();
  for (const std::string& breach : host.take_complaints())
    ADD_FAILURE() << breach;
  return events;
}

void PluginTest::TearDown() {
  for (const std::string& breach : host.take_complaints())
    ADD_FAILURE() << breach;
}

}  // namespace kvel::cli::test
