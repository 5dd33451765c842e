// The store in one SQLite file: write-ahead log, every commit synced to disk, one process at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "manager/store/log_keeper.h"
#include "manager/store/log_scan.h"
#include "manager/store/sqlite_connection.h"
#include "manager/store/store.h"
#include "manager/store/store_file.h"

namespace kvel::manager {

struct SqliteOptions {
  std::uint32_t page_limit = 0;  // the file grows to at most so many pages of 4096 bytes; 0: no limit
  bool makes_folder = false;     // the folder is made when it is missing
  bool accepts_loss = false;     // opens a store whose log has lost changes, without them
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

  [[nodiscard]] StoreHead head() const override { return head_; }
  [[nodiscard]] StoreResult<void> load(const Visitor& visit, const Validator& validate) override;
  [[nodiscard]] StoreResult<void> commit(const StoreCommit& commit) override;

  // Called with each commit, for whoever calls settle() when there has been none for a while.
  void on_commit(std::function<void()> listener) { listener_ = std::move(listener); }
  // Moves the log into the file. An error leaves it where it is; busy: try again later.
  [[nodiscard]] StoreResult<void> settle();

 private:
  SqliteStore(StoreFile file, SqliteOptions options);

  [[nodiscard]] StoreResult<void> check_format();
  [[nodiscard]] StoreResult<void> check_log();
  [[nodiscard]] StoreResult<void> check_structure();
  [[nodiscard]] StoreResult<void> upgrade();
  [[nodiscard]] StoreResult<void> write_anew();
  [[nodiscard]] StoreResult<void> prepare_statements();
  [[nodiscard]] StoreResult<void> accept();
  void warn(const std::string& what) const;
  [[nodiscard]] int apply(const StoreChange& change);
  [[nodiscard]] int write_head(const StoreHead& head);
  [[nodiscard]] int commit_all(const StoreCommit& commit);
  template <class... Values>
  [[nodiscard]] int run(Statement& statement, const Values&... values);

  // In the order of their dependence: statements go before their connection, and that before the locked file.
  StoreFile file_;
  SqliteOptions options_;
  bool had_log_ = false;
  LogScan log_found_;
  std::uint32_t format_ = 0;  // of the tables that are there
  StoreHead head_;
  std::string id_;  // empty in a store of the first format
  bool accepts_this_loss_ = false;
  std::function<void()> listener_;
  std::unique_ptr<Connection> connection_;
  std::unique_ptr<LogKeeper> log_;  // from its making on the store is ours to write
  Statement begin_;
  Statement commit_;
  Statement rollback_;
  Statement write_object_;
  Statement erase_object_;
  Statement write_part_;
  Statement erase_part_;
  Statement erase_parts_;
  Statement write_head_;
};

}  // namespace kvel::manager
