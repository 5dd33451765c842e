// Stores as earlier versions left them, and as this one does: each is read, and goes on in today's format. The
// configuration is that of the examples, and an object that came and went.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/shell/process.h"

namespace kvel::test::stored_formats_test {
namespace {

namespace fs = std::filesystem;

class StoredFormats : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    fs::copy_file(std::string(KVEL_STORES "/format-") + std::to_string(GetParam()) + ".db", store);
    fs::permissions(store, fs::perms(0600));
  }

  // The number in SQLite's header that says it.
  [[nodiscard]] int format() const { return read_file(store).at(63); }
  [[nodiscard]] std::string running_config() const {
    const Finished done = run_kvelsh({"--store", store, "-c", "show running-config"});
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(done.status, 0);
    return done.out;
  }

  const TemporaryFolder folder;
  const std::string store = folder.file("s");
  const std::string configuration = read_file(KVEL_STORES "/running-config.kvel");
};

TEST_P(StoredFormats, AreReadAndGoOnInTodaysFormat) {
  EXPECT_EQ(format(), GetParam());
  EXPECT_EQ(running_config(), configuration);
  EXPECT_EQ(format(), 3);
  EXPECT_EQ(running_config(), configuration);
}

TEST_P(StoredFormats, AreChangedAtOnce) {
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "class-map match-any zz-new; match any"}).status, 0);
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "no class-map match-any zz-new"}).status, 0);
  EXPECT_EQ(running_config(), configuration);
}

INSTANTIATE_TEST_SUITE_P(All, StoredFormats, ::testing::Values(1, 2, 3));

}  // namespace
}  // namespace kvel::test::stored_formats_test
