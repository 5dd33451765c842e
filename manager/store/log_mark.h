// The mark: a file beside the store (STORE-mark) that says which changes of the log have been acknowledged. It is
// written after each commit and not forced to disk, which costs next to nothing. A killed process leaves it up to date;
// after a power cut it may be an earlier one, which proves less and never anything wrong, since what it names was on
// disk before. A store that was closed has none.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "manager/store/log_scan.h"
#include "process/descriptor.h"

namespace kvel::manager {

inline constexpr std::size_t kStoreIdSize = 32;

struct LogMark {
  std::array<char, kStoreIdSize> store_id{};
  LogSalts salts{};
  std::uint32_t frames = 0;  // 0: nothing is in the log alone
  std::uint32_t changes = 0;

  [[nodiscard]] bool is_of(std::string_view id) const { return std::string_view(store_id.data(), kStoreIdSize) == id; }
};

// The lock on this file is that of the database's content: who holds it shared can copy the database file, for whoever
// moves the log into that holds it for itself.
class MarkFile {
 public:
  MarkFile() = default;
  // Opens it for a manager, makes it (mode 0600) when it is missing. A file of this name that is none is left alone:
  // the result is closed then, as it is when there can be no file.
  [[nodiscard]] static MarkFile make(const std::string& path);
  // Opens it for reading; closed when there is none.
  [[nodiscard]] static MarkFile open(const std::string& path);

  [[nodiscard]] bool is_open() const { return descriptor_.is_open(); }
  // The mark, if there is one and it is whole.
  [[nodiscard]] std::optional<LogMark> read() const;
  bool write(const LogMark& mark) const;
  [[nodiscard]] bool sync() const;
  [[nodiscard]] bool try_lock_alone() const;
  [[nodiscard]] bool try_lock_shared() const;
  void unlock() const;
  // The path still leads to this file.
  [[nodiscard]] bool is_at(const std::string& path) const;

 private:
  explicit MarkFile(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

  Descriptor descriptor_;
};

}  // namespace kvel::manager
