// Memory whose edges are watched: a step too far is a crash, in every build.
#pragma once

#include <cstddef>

namespace kvel::cli::test {

// A block of bytes, writable until it is frozen, whose byte number `boundary` begins a page. A block whose boundary is
// its size ends exactly where inaccessible memory begins.
class GuardedBlock {
 public:
  explicit GuardedBlock(std::size_t size) : GuardedBlock(size, size) {}
  GuardedBlock(std::size_t size, std::size_t boundary);
  GuardedBlock(GuardedBlock&& other) noexcept;
  GuardedBlock(const GuardedBlock&) = delete;
  GuardedBlock& operator=(const GuardedBlock&) = delete;
  GuardedBlock& operator=(GuardedBlock&&) = delete;
  ~GuardedBlock();

  [[nodiscard]] std::byte* data() const { return data_; }

  // The block can only be read from now on.
  void freeze();
  // The bytes in front of the boundary can be neither read nor written from now on.
  void forbid_head();
  // `size` bytes from `offset` on may not be read. Only a build with AddressSanitizer enforces it.
  void forbid(std::size_t offset, std::size_t size);

 private:
  std::byte* map_ = nullptr;
  std::size_t head_size_ = 0;  // whole pages in front of the boundary
  std::size_t map_size_ = 0;
  std::byte* data_ = nullptr;
};

// An address that crashes whoever reads or writes it.
[[nodiscard]] void* inaccessible();

}  // namespace kvel::cli::test
