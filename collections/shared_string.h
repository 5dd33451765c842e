// An immutable string that its copies share: eight bytes each, copied without an allocation. Copies may live in
// different threads.
#pragma once

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <string_view>
#include <utility>

namespace kvel::collections {

class SharedString {
 public:
  SharedString() noexcept = default;  // the empty string
  explicit SharedString(std::string_view text) : block_(text.empty() ? nullptr : make(text)) {}
  SharedString(const SharedString& other) noexcept : block_(other.block_) {
    if (block_ != nullptr) block_->holders.fetch_add(1, std::memory_order_relaxed);
  }
  SharedString(SharedString&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  SharedString& operator=(SharedString other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~SharedString() {
    if (block_ != nullptr && block_->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) ::operator delete(block_);
  }

  // Lives as long as a copy of the string does.
  [[nodiscard]] std::string_view view() const noexcept {
    return block_ == nullptr ? std::string_view() : std::string_view(block_->text(), block_->size);
  }
  // NOLINTNEXTLINE(google-explicit-constructor): it is one, and is passed where one is asked for
  operator std::string_view() const noexcept { return view(); }

  // By bytes.
  friend bool operator==(const SharedString& left, const SharedString& right) noexcept {
    return left.block_ == right.block_ || left.view() == right.view();
  }
  friend std::strong_ordering operator<=>(const SharedString& left, const SharedString& right) noexcept {
    if (left.block_ == right.block_) return std::strong_ordering::equal;
    return left.view() <=> right.view();
  }
  friend bool operator==(const SharedString& left, std::string_view right) noexcept { return left.view() == right; }
  friend std::strong_ordering operator<=>(const SharedString& left, std::string_view right) noexcept {
    return left.view() <=> right;
  }

 private:
  struct Block {
    std::atomic<std::uint32_t> holders;
    std::uint32_t size;
    [[nodiscard]] char* text() noexcept { return static_cast<char*>(static_cast<void*>(this + 1)); }
  };

  static Block* make(std::string_view text) {
    auto* const block =
        new (::operator new(sizeof(Block) + text.size())) Block{1, static_cast<std::uint32_t>(text.size())};
    std::memcpy(block->text(), text.data(), text.size());
    return block;
  }

  Block* block_ = nullptr;
};

}  // namespace kvel::collections
