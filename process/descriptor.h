// The owner of a file descriptor, of whatever kind of file.
#pragma once

#include <unistd.h>

#include <utility>

namespace kvel {

// Closed at the end, unless somebody took it over. Closing reports nothing: who has to know whether it went well closes
// what release() gives.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int value) : value_(value) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor(Descriptor&& other) noexcept : value_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }

  [[nodiscard]] bool is_open() const { return value_ >= 0; }
  [[nodiscard]] int get() const { return value_; }
  [[nodiscard]] int release() { return std::exchange(value_, -1); }

 private:
  int value_ = -1;
};

}  // namespace kvel
