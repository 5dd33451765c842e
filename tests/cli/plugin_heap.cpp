// Redirects the allocation functions in a library's import table. Only calls that the library makes itself are
// redirected, so it works the same with a sanitizer's allocator and on every ELF machine.
#include "tests/cli/plugin_heap.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

namespace kvel::cli::test {
namespace {

PluginHeap* current_heap = nullptr;

// A library that counts its coverage writes the counts down when it is unloaded, outside of any test.
#ifdef KVEL_TEST_COVERAGE
bool is_outside() { return current_heap == nullptr; }
#else
constexpr bool is_outside() { return false; }
#endif

// ---- the replacements

extern "C" {

void* plugin_malloc(std::size_t size) {
  if (is_outside()) return std::malloc(size);
  void* block = PluginHeap::current().allocate(size);
  if (block != nullptr) std::memset(block, 0xaa, size);
  return block;
}

void* plugin_calloc(std::size_t count, std::size_t size) {
  if (is_outside()) return std::calloc(count, size);
  if (size != 0 && count > std::numeric_limits<std::size_t>::max() / size) {
    errno = ENOMEM;
    return nullptr;
  }
  void* block = PluginHeap::current().allocate(count * size);
  if (block != nullptr) std::memset(block, 0, count * size);
  return block;
}

void plugin_free(void* block) {
  if (is_outside()) return std::free(block);
  PluginHeap::current().free(block);
}

// Always moves the block, so that an old pointer is noticed.
void* plugin_realloc(void* block, std::size_t size) {
  if (is_outside()) return std::realloc(block, size);
  void* moved = plugin_malloc(size);
  if (moved == nullptr || block == nullptr) return moved;
  const std::size_t old_size = PluginHeap::current().size_of(block).value_or(0);
  std::memcpy(moved, block, std::min(old_size, size));
  plugin_free(block);
  return moved;
}

char* plugin_strndup(const char* text, std::size_t limit) {
  const std::size_t length = strnlen(text, limit);
  auto* copy = static_cast<char*>(PluginHeap::current().allocate(length + 1));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

char* plugin_strdup(const char* text) { return plugin_strndup(text, std::strlen(text)); }

}  // extern "C"

// The address to put in place of the import `name`; null leaves the import alone.
std::uintptr_t replacement(std::string_view name) {
  if (name == "malloc") return reinterpret_cast<std::uintptr_t>(&plugin_malloc);
  if (name == "calloc") return reinterpret_cast<std::uintptr_t>(&plugin_calloc);
  if (name == "realloc") return reinterpret_cast<std::uintptr_t>(&plugin_realloc);
  if (name == "strdup") return reinterpret_cast<std::uintptr_t>(&plugin_strdup);
  if (name == "strndup") return reinterpret_cast<std::uintptr_t>(&plugin_strndup);
  if (name == "free") return reinterpret_cast<std::uintptr_t>(&plugin_free);
  return 0;
}

// ---- the import table

[[noreturn]] void give_up(const char* step) {
  std::perror(step);
  std::abort();
}

// Writes a word that the loader may have made read-only.
void overwrite(std::byte* word, std::uintptr_t value) {
  const auto page_size = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  std::byte* page = word - reinterpret_cast<std::uintptr_t>(word) % page_size;
  if (mprotect(page, page_size, PROT_READ | PROT_WRITE) != 0) give_up("mprotect of an import table");
  std::memcpy(word, &value, sizeof(value));
}

class Imports {
 public:
  explicit Imports(const link_map& library) {
    Dl_info info{};
    if (dladdr(library.l_ld, &info) == 0) give_up("dladdr");
    base_ = static_cast<std::byte*>(info.dli_fbase);
    for (const ElfW(Dyn)* entry = library.l_ld; entry->d_tag != DT_NULL; ++entry) {
      const auto tag = static_cast<std::size_t>(entry->d_tag);
      if (tag < values_.size()) values_[tag] = entry->d_un.d_val;
    }
  }

  void redirect() const {
    redirect_table<ElfW(Rela)>(DT_RELA, DT_RELASZ);
    redirect_table<ElfW(Rel)>(DT_REL, DT_RELSZ);
    if (values_[DT_PLTREL] == DT_RELA) redirect_table<ElfW(Rela)>(DT_JMPREL, DT_PLTRELSZ);
    if (values_[DT_PLTREL] == DT_REL) redirect_table<ElfW(Rel)>(DT_JMPREL, DT_PLTRELSZ);
  }

 private:
  // A table's address: some loaders turn the offset in the dynamic section into an address, some do not.
  template <class Entry>
  const Entry* table(std::size_t tag) const {
    const auto base = reinterpret_cast<std::uintptr_t>(base_);
    const std::uintptr_t value = values_[tag];
    return reinterpret_cast<const Entry*>(base_ + (value >= base ? value - base : value));
  }

  template <class Relocation>
  void redirect_table(std::size_t start, std::size_t size) const {
    if (values_[start] == 0) return;
    const auto* relocation = table<Relocation>(start);
    const auto* end = relocation + values_[size] / sizeof(Relocation);
    for (; relocation != end; ++relocation) {
      const std::uint64_t info = relocation->r_info;
      const auto symbol = static_cast<std::size_t>(sizeof(void*) == 8 ? info >> 32U : info >> 8U);
      if (symbol == 0) continue;
      const char* name = table<char>(DT_STRTAB) + table<ElfW(Sym)>(DT_SYMTAB)[symbol].st_name;
      if (const std::uintptr_t address = replacement(name); address != 0) {
        overwrite(base_ + relocation->r_offset, address);
      }
    }
  }

  std::byte* base_ = nullptr;
  std::array<std::uintptr_t, DT_NUM> values_{};
};

}  // namespace

PluginHeap::PluginHeap(void* library, Host& host) : host_(host) {
  if (current_heap != nullptr) std::abort();
  current_heap = this;
  watch(library);
}

void PluginHeap::watch(void* library) {
  link_map* map = nullptr;
  if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) give_up("dlinfo");
  Imports(*map).redirect();
}

PluginHeap::~PluginHeap() {
  free_all();
  current_heap = nullptr;
}

PluginHeap& PluginHeap::current() {
  if (current_heap == nullptr) std::abort();
  return *current_heap;
}

std::optional<std::size_t> PluginHeap::size_of(const void* start) const {
  const auto found = blocks_.find(start);
  if (found == blocks_.end()) return std::nullopt;
  return found->second;
}

void* PluginHeap::allocate(std::size_t size) {
  ++allocations_;
  const bool fails =
      failing_.nth != 0 && (allocations_ == failing_.nth || (failing_.onwards && allocations_ > failing_.nth));
  void* block = fails ? nullptr : std::malloc(size);
  if (block == nullptr) {
    errno = ENOMEM;
  } else {
    blocks_[block] = size;
  }
  return block;
}

void PluginHeap::free(void* start) {
  if (start == nullptr) return;
  const auto found = blocks_.find(start);
  if (found == blocks_.end()) return host_.complain("a block was freed that is no live block of the plug-in");
  std::memset(start, 0xdd, found->second);
  blocks_.erase(found);
  std::free(start);
}

void PluginHeap::free_all() {
  while (!blocks_.empty())
    free(const_cast<void*>(blocks_.begin()->first));
}

}  // namespace kvel::cli::test
