// Where a manager listens, as a user writes it: unix:PATH or a plain path.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace kvel::rpc {

// The longest path a Unix socket takes, in bytes.
inline constexpr std::size_t kMaxSocketPath = 107;

class Address {
 public:
  // Of a Unix socket: 1 to kMaxSocketPath bytes, no NUL.
  [[nodiscard]] const std::string& path() const { return path_; }
  // As a user may write it.
  [[nodiscard]] std::string text() const { return "unix:" + path_; }

 private:
  friend tl::expected<Address, std::string> parse_address(std::string_view text);
  explicit Address(std::string_view path) : path_(path) {}

  std::string path_;
};

// The address in `text`, or what is wrong with it as a sentence for the user. "tcp:" and "tls:" are kept for transports
// to come and are refused; a file of such a name is written "unix:tcp:..." or "./tcp:...".
[[nodiscard]] tl::expected<Address, std::string> parse_address(std::string_view text);

}  // namespace kvel::rpc
