// Guarded blocks are mappings of their own, with an inaccessible page after them.
#include "tests/cli/guarded_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KVEL_TEST_ASAN
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) && !defined(KVEL_TEST_ASAN)
#define KVEL_TEST_ASAN
#endif
#ifdef KVEL_TEST_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace kvel::cli::test {
namespace {

std::size_t page_size() {
  static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

std::size_t whole_pages(std::size_t size) { return (size + page_size() - 1) / page_size() * page_size(); }

void protect(std::byte* start, std::size_t size, int protection) {
  if (size == 0 || mprotect(start, size, protection) == 0) return;
  std::perror("mprotect");
  std::abort();
}

std::byte* map_pages(std::size_t size) {
  void* map = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (map == MAP_FAILED) {
    std::perror("mmap");
    std::abort();
  }
  return static_cast<std::byte*>(map);
}

}  // namespace

GuardedBlock::GuardedBlock(std::size_t size, std::size_t boundary)
    : head_size_(whole_pages(boundary)), map_size_(head_size_ + whole_pages(size - boundary) + page_size()) {
  map_ = map_pages(map_size_);
  data_ = map_ + head_size_ - boundary;
  protect(map_ + map_size_ - page_size(), page_size(), PROT_NONE);
}

GuardedBlock::GuardedBlock(GuardedBlock&& other) noexcept
    : map_(std::exchange(other.map_, nullptr)),
      head_size_(other.head_size_),
      map_size_(other.map_size_),
      data_(std::exchange(other.data_, nullptr)) {}

GuardedBlock::~GuardedBlock() {
  if (map_ == nullptr) return;
#ifdef KVEL_TEST_ASAN
  __asan_unpoison_memory_region(map_, map_size_);
#endif
  munmap(map_, map_size_);
}

void GuardedBlock::freeze() { protect(map_, map_size_ - page_size(), PROT_READ); }

void GuardedBlock::forbid_head() { protect(map_, head_size_, PROT_NONE); }

void GuardedBlock::forbid([[maybe_unused]] std::size_t offset, [[maybe_unused]] std::size_t size) {
#ifdef KVEL_TEST_ASAN
  __asan_poison_memory_region(data_ + offset, size);
#endif
}

void* inaccessible() {
  static std::byte* const page = [] {
    std::byte* map = map_pages(page_size());
    protect(map, page_size(), PROT_NONE);
    return map;
  }();
  return page;
}

}  // namespace kvel::cli::test
