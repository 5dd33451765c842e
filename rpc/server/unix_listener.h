// The server's Unix socket in the file system: who may open it, what is done with a file that is already there, who
// removes it.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <tl/expected.hpp>

#include "process/descriptor.h"
#include "rpc/wire/address.h"

namespace kvel::rpc {

// A listening socket whose file has mode 0660, and never a wider one. The file goes with the object.
class UnixListener {
 public:
  // Replaces the socket file of a dead server, and nothing else: a live server's, another kind of file or a folder is
  // refused. While another server starts in the same folder, `pause` is called before each look whether it is done; a
  // folder that is never free is refused. The error is a sentence for the user.
  [[nodiscard]] static tl::expected<UnixListener, std::string> open(const Address& address,
                                                                    const std::function<void()>& pause = sleep);

  UnixListener(UnixListener&& other) noexcept;
  UnixListener& operator=(UnixListener&& other) noexcept;
  UnixListener(const UnixListener&) = delete;
  UnixListener& operator=(const UnixListener&) = delete;
  ~UnixListener();

  // Hands the listening socket, which does not block, to the caller, who closes it. Once only.
  [[nodiscard]] int release_socket();

  // Removes the file, unless the path has come to mean another one. Comes before the socket is closed: until then no
  // other server takes the path, and the system does not give the file's number to another file.
  void remove_file();

 private:
  UnixListener() = default;

  static void sleep();  // a tenth of a second

  Descriptor socket_;
  std::string path_;  // empty when there is no file to remove
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

}  // namespace kvel::rpc
