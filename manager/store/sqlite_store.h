// The store in one SQLite file: write-ahead log, every commit synced to disk, one process at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>

#include "manager/store/sqlite_connection.h"
#include "manager/store/store.h"
#include "manager/store/store_file.h"

namespace kvel::manager {

struct SqliteOptions {
  std::uint32_t page_limit = 0;  // the file grows to at most so many pages of 4096 bytes; 0: no limit
  bool makes_folder = false;     // the folder is made when it is missing
  // Takes a sentence about what is no reason to refuse the store and yet should be known.
  std::function<void(std::string_view)> warn = {};
};

class SqliteStore final : public Store {
 public:
  // Opens and checks the store at `path`; makes it when it is missing or an empty file. A refused file is left byte for
  // byte as it is, and so is all that lies beside it.
  [[nodiscard]] static StoreResult<std::unique_ptr<SqliteStore>> open(const std::filesystem::path& path,
                                                                      SqliteOptions options = {});
  ~SqliteStore() override;

  [[nodiscard]] StoreResult<void> load(const Visitor& visit, const Validator& validate) override;
  [[nodiscard]] StoreResult<void> commit(std::span<const Change> changes) override;

 private:
  explicit SqliteStore(StoreFile file);

  [[nodiscard]] StoreResult<void> check_structure();
  [[nodiscard]] StoreResult<void> prepare_statements(SqliteOptions options);
  [[nodiscard]] StoreResult<void> accept();
  [[nodiscard]] int apply(const Change& change);
  [[nodiscard]] int commit_all(std::span<const Change> changes);

  // In the order of their dependence: statements go before their connection, and that before the locked file.
  StoreFile file_;
  bool had_log_ = false;
  bool accepted_ = false;  // from here on the store is ours to write
  std::unique_ptr<Connection> connection_;
  Statement begin_;
  Statement commit_;
  Statement rollback_;
  Statement write_;
  Statement erase_part_;
  Statement erase_object_;
};

}  // namespace kvel::manager
