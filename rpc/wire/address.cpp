// Parsing of manager addresses.
#include "rpc/wire/address.h"

#include <fmt/format.h>
#include <sys/un.h>

namespace kvel::rpc {

static_assert(kMaxSocketPath == sizeof(sockaddr_un::sun_path) - 1);

tl::expected<Address, std::string> parse_address(std::string_view text) {
  std::string_view path = text;
  for (std::string_view scheme : {"tcp:", "tls:"}) {
    if (text.starts_with(scheme)) {
      return tl::unexpected(
          fmt::format("addresses that begin with {} are not supported yet; use unix:PATH or a path", scheme));
    }
  }
  constexpr std::string_view kUnix = "unix:";
  if (path.starts_with(kUnix)) path.remove_prefix(kUnix.size());

  if (path.empty()) return tl::unexpected(std::string("the address names no socket path"));
  if (path.find('\0') != std::string_view::npos) return tl::unexpected(std::string("a socket path holds no NUL byte"));
  if (path.size() > kMaxSocketPath) {
    return tl::unexpected(
        fmt::format("the socket path is too long: {} bytes, at most {} fit", path.size(), kMaxSocketPath));
  }
  return Address(path);
}

}  // namespace kvel::rpc
