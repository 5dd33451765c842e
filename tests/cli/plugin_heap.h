// The plug-in's heap: its allocations, and nobody else's, pass through here, are counted, fail when a test wants them
// to, and are known one by one until they are freed.
#pragma once

#include <cstddef>
#include <map>
#include <optional>

#include "tests/cli/fake_host.h"

namespace kvel::cli::test {

// Takes the place of malloc, calloc, realloc, strdup, strndup and free in the imports of one loaded library. New memory
// is filled with 0xaa unless it has to be zero, freed memory with 0xdd. Breaches go to the host's complaints. One heap
// exists at a time.
class PluginHeap {
 public:
  // `library` as dlopen returned it; `host` outlives the heap.
  PluginHeap(void* library, Host& host);
  // The same for a library that was loaded in place of the first.
  static void watch(void* library);
  PluginHeap(const PluginHeap&) = delete;
  PluginHeap& operator=(const PluginHeap&) = delete;
  ~PluginHeap();
  [[nodiscard]] static PluginHeap& current();

  // Allocation number `nth` from now on, counted from 1, fails: it alone, or all that follow it too.
  void fail_only(std::size_t nth) { failing_ = {nth, false}, allocations_ = 0; }
  void fail_from(std::size_t nth) { failing_ = {nth, true}, allocations_ = 0; }
  void fail_none() { failing_ = {}, allocations_ = 0; }
  // Allocations since the last of these three, failed ones included.
  [[nodiscard]] std::size_t allocations() const { return allocations_; }

  // Blocks allocated and not freed.
  [[nodiscard]] std::size_t live() const { return blocks_.size(); }
  // The size asked for, or nothing when `start` is not the start of a live block.
  [[nodiscard]] std::optional<std::size_t> size_of(const void* start) const;

  // For the plug-in and, as it owns what a hook returns, for the shell. Null is ignored when freed.
  [[nodiscard]] void* allocate(std::size_t size);
  void free(void* start);
  void free_all();

 private:
  struct Failing {
    std::size_t nth = 0;  // 0: none
    bool onwards = false;
  };

  Host& host_;
  Failing failing_;
  std::size_t allocations_ = 0;
  std::map<const void*, std::size_t> blocks_;
};

}  // namespace kvel::cli::test
