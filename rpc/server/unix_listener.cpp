// Opening and removing the server's socket file.
#include "rpc/server/unix_listener.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

#include "process/descriptor.h"

namespace kvel::rpc {

namespace {

constexpr mode_t kMode = 0660;

tl::unexpected<std::string> refuse(const std::string& path, std::string_view reason) {
  return tl::unexpected(fmt::format("cannot listen on {}: {}", path, reason));
}

tl::unexpected<std::string> refuse(const std::string& path, std::string_view doing, int error) {
  return refuse(path, fmt::format("{}: {}", doing, std::system_category().message(error)));
}

sockaddr_un socket_name(const std::string& path) {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  std::ranges::copy(path, name.sun_path);  // parse_address saw to the length
  return name;
}

std::string folder_of(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Servers that start at the same time in one folder take turns, so that none removes the fresh socket of another as a
// dead one's. Gives up on a folder that somebody keeps locked.
bool lock(int folder, const std::function<void()>& pause) {
  for (int attempt = 0; attempt < 50; ++attempt) {
    if (::flock(folder, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK && errno != EINTR) return false;
    pause();
  }
  return false;
}

enum class Occupant { none, dead_server, live_server };

// What is at `path` now, or why it is in the way.
tl::expected<Occupant, std::string> look_at(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return Occupant::none;
    return refuse(path, "cannot look at it", errno);
  }
  if (!S_ISSOCK(status.st_mode)) return refuse(path, "something else than a socket has this name");

  const Descriptor probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!probe.is_open()) return refuse(path, "no socket", errno);
  const sockaddr_un name = socket_name(path);
  if (::connect(probe.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0) return Occupant::live_server;
  if (errno == ECONNREFUSED) return Occupant::dead_server;
  if (errno == ENOENT) return Occupant::none;
  if (errno == EAGAIN) return Occupant::live_server;  // so busy that its queue is full
  return refuse(path, "cannot tell whether a server listens there", errno);
}

}  // namespace

void UnixListener::sleep() { std::this_thread::sleep_for(std::chrono::milliseconds(100)); }

tl::expected<UnixListener, std::string> UnixListener::open(const Address& address, const std::function<void()>& pause) {
  const std::string& path = address.path();
  const Descriptor folder(::open(folder_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.is_open()) return refuse(path, "cannot open the folder", errno);
  if (!lock(folder.get(), pause)) return refuse(path, "the folder is locked by another process");

  const auto occupant = look_at(path);
  if (!occupant) return tl::unexpected(occupant.error());
  if (*occupant == Occupant::live_server) return refuse(path, "a server is already listening there");
  if (*occupant == Occupant::dead_server && ::unlink(path.c_str()) != 0) {
    return refuse(path, "cannot remove the socket of a server that is gone", errno);
  }

  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.is_open()) return refuse(path, "no socket", errno);
  // The mode of the socket limits the mode of the file that bind creates, so the file is never open wider; afterwards
  // the file gets what the process's umask took away from it.
  if (::fchmod(socket.get(), kMode) != 0) return refuse(path, "cannot set the mode", errno);
  const sockaddr_un name = socket_name(path);
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
    return refuse(path, "cannot create the socket", errno);
  }

  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return refuse(path, "cannot look at it", errno);
  UnixListener listener;
  listener.path_ = path;
  listener.device_ = status.st_dev;
  listener.inode_ = status.st_ino;
  if (::chmod(path.c_str(), kMode) != 0) return refuse(path, "cannot set the mode", errno);
  if (::listen(socket.get(), SOMAXCONN) != 0) return refuse(path, "cannot listen", errno);
  listener.socket_ = std::move(socket);
  return listener;
}

UnixListener::UnixListener(UnixListener&& other) noexcept
    : socket_(std::move(other.socket_)),
      path_(std::exchange(other.path_, {})),
      device_(other.device_),
      inode_(other.inode_) {}

UnixListener& UnixListener::operator=(UnixListener&& other) noexcept {
  std::swap(socket_, other.socket_);
  std::swap(path_, other.path_);
  std::swap(device_, other.device_);
  std::swap(inode_, other.inode_);
  return *this;
}

UnixListener::~UnixListener() { remove_file(); }

void UnixListener::remove_file() {
  if (path_.empty()) return;
  struct stat status {};
  const bool ours = ::lstat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
  if (ours) ::unlink(path_.c_str());
  path_.clear();
}

int UnixListener::release_socket() { return socket_.release(); }

}  // namespace kvel::rpc
