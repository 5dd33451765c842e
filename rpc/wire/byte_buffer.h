// Bytes on their way to or from a connection: appended at the end, consumed at the front, in one reused block.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>

namespace kvel::rpc {

class ByteBuffer {
 public:
  ByteBuffer() = default;
  ByteBuffer(const ByteBuffer&) = delete;
  ByteBuffer& operator=(const ByteBuffer&) = delete;
  ~ByteBuffer() { std::free(data_); }

  [[nodiscard]] std::span<std::byte> bytes() { return {data_ + begin_, end_ - begin_}; }
  [[nodiscard]] std::span<const std::byte> bytes() const { return {data_ + begin_, end_ - begin_}; }
  [[nodiscard]] std::size_t size() const { return end_ - begin_; }
  // The memory that it holds.
  [[nodiscard]] std::size_t capacity() const { return capacity_; }
  [[nodiscard]] bool empty() const { return begin_ == end_; }

  // Space for at least `least` bytes after the content; what was written there joins the content with commit(). The
  // block at most doubles with what is really there, so a peer's announcement alone costs no memory. Throws
  // std::bad_alloc.
  [[nodiscard]] std::span<std::byte> space(std::size_t least = kLeastSpace) {
    if (capacity_ - end_ < least) reserve(least);
    return {data_ + end_, capacity_ - end_};
  }
  void commit(std::size_t count) { end_ += count; }

  void append(const void* source, std::size_t count) {
    if (count == 0) return;
    std::memcpy(space(count).data(), source, count);
    commit(count);
  }
  // The interface that msgpack's packer writes to.
  void write(const char* source, std::size_t count) { append(source, count); }

  void consume(std::size_t count) {
    begin_ += count;
    if (begin_ == end_) clear();
  }

  // Empties the buffer. A block that an unusually large frame needed is given back.
  void clear() {
    begin_ = end_ = 0;
    if (capacity_ > kKeptCapacity) {
      std::free(data_);
      data_ = nullptr;
      capacity_ = 0;
    }
  }

 private:
  static constexpr std::size_t kLeastSpace = 4096;
  static constexpr std::size_t kKeptCapacity = std::size_t{64} * 1024;

  void reserve(std::size_t least) {
    if (begin_ > 0) {
      std::memmove(data_, data_ + begin_, size());
      end_ -= begin_;
      begin_ = 0;
      if (capacity_ - end_ >= least) return;
    }
    const std::size_t capacity = std::max({kLeastSpace, capacity_ * 2, end_ + least});
    void* block = std::realloc(data_, capacity);
    if (block == nullptr) throw std::bad_alloc();
    data_ = static_cast<std::byte*>(block);
    capacity_ = capacity;
  }

  std::byte* data_ = nullptr;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace kvel::rpc
