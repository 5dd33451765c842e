// The arguments of one backend call, checked against the call table, as they pass between a channel and the service.
// Texts and buffers are views of the caller's memory (embedded) or of the frame (remote); nothing here owns them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <string_view>
#include <utility>

#include "rpc/calls/call_table.h"

namespace kvel::rpc {

// The growing result of a call with a response argument: one malloc block, so that it can be handed over a C boundary.
class ResponseBuffer {
 public:
  ResponseBuffer() = default;
  ResponseBuffer(const ResponseBuffer&) = delete;
  ResponseBuffer& operator=(const ResponseBuffer&) = delete;
  ResponseBuffer(ResponseBuffer&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)),
        size_(std::exchange(other.size_, 0)),
        capacity_(std::exchange(other.capacity_, 0)) {}
  ResponseBuffer& operator=(ResponseBuffer&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
    return *this;
  }
  ~ResponseBuffer() { std::free(data_); }

  // Appends `size` uninitialised bytes and returns where they start; throws std::bad_alloc.
  std::byte* extend(std::size_t size) {
    if (capacity_ - size_ < size) grow(size_ + size);
    std::byte* start = data_ + size_;
    size_ += size;
    return start;
  }
  void append(std::span<const std::byte> bytes) {
    if (!bytes.empty()) std::memcpy(extend(bytes.size()), bytes.data(), bytes.size());
  }
  void append(std::string_view text) { append(std::as_bytes(std::span(text))); }
  void clear() { size_ = 0; }

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] std::span<const std::byte> bytes() const { return {data_, size_}; }

  // Gives the block to the caller, who frees it with free(); null when nothing was ever appended.
  [[nodiscard]] std::byte* release() {
    size_ = capacity_ = 0;
    return std::exchange(data_, nullptr);
  }

 private:
  void grow(std::size_t needed) {
    std::size_t capacity = capacity_ < 512 ? 1024 : capacity_ * 2;
    if (capacity < needed) capacity = needed;
    void* block = std::realloc(data_, capacity);
    if (block == nullptr) throw std::bad_alloc();
    data_ = static_cast<std::byte*>(block);
    capacity_ = capacity;
  }

  std::byte* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

// One argument; which member holds it follows from the type.
struct Argument {
  ArgType type = ArgType::u8;
  std::uint32_t number = 0;            // u8, u16, u32, session: already within its range
  std::string_view text;               // string, without its NUL
  std::span<std::byte> bytes;          // buffer, of exactly the length in the table
  ResponseBuffer* response = nullptr;  // response, empty before the call
};

}  // namespace kvel::rpc
