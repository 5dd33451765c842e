#include "tests/faults/failing_disk.h"

#include <cerrno>
#include <new>
#include <stdexcept>

namespace kvel::faults {

namespace {

FailingDisk* disk = nullptr;
sqlite3_vfs* real_vfs = nullptr;

// A file of ours, followed by the real one in the same block.
struct File {
  sqlite3_file base;
  sqlite3_file* real;
};

sqlite3_file* real_of(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real; }

// Passes an operation on as it is.
template <auto kMethod>
struct Pass;
template <class... Values, int (*sqlite3_io_methods::*kMethod)(sqlite3_file*, Values...)>
struct Pass<kMethod> {
  static int call(sqlite3_file* file, Values... values) {
    sqlite3_file* const real = real_of(file);
    return (real->pMethods->*kMethod)(real, values...);
  }
};

int write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
  sqlite3_file* const real = real_of(file);
  const int code = disk->before_write(real, bytes, count, offset);
  return code == SQLITE_OK ? real->pMethods->xWrite(real, bytes, count, offset) : code;
}

int sync(sqlite3_file*, int) { return disk->before_sync(); }

// Without the methods for memory shared between processes: the store locks its file for itself and needs none.
constexpr sqlite3_io_methods kMethods{
    .iVersion = 1,
    .xClose = Pass<&sqlite3_io_methods::xClose>::call,
    .xRead = Pass<&sqlite3_io_methods::xRead>::call,
    .xWrite = write,
    .xTruncate = Pass<&sqlite3_io_methods::xTruncate>::call,
    .xSync = sync,
    .xFileSize = Pass<&sqlite3_io_methods::xFileSize>::call,
    .xLock = Pass<&sqlite3_io_methods::xLock>::call,
    .xUnlock = Pass<&sqlite3_io_methods::xUnlock>::call,
    .xCheckReservedLock = Pass<&sqlite3_io_methods::xCheckReservedLock>::call,
    .xFileControl = Pass<&sqlite3_io_methods::xFileControl>::call,
    .xSectorSize = Pass<&sqlite3_io_methods::xSectorSize>::call,
    .xDeviceCharacteristics = Pass<&sqlite3_io_methods::xDeviceCharacteristics>::call,
    .xShmMap = nullptr,
    .xShmLock = nullptr,
    .xShmBarrier = nullptr,
    .xShmUnmap = nullptr,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

int open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* out_flags) {
  auto* const ours = new (file) File{{nullptr}, reinterpret_cast<sqlite3_file*>(reinterpret_cast<File*>(file) + 1)};
  const int code = real_vfs->xOpen(real_vfs, name, ours->real, flags, out_flags);
  // Methods demand that the file has to be closed.
  if (ours->real->pMethods != nullptr) ours->base.pMethods = &kMethods;
  return code;
}

}  // namespace

FailingDisk::FailingDisk() {
  if (disk != nullptr) throw std::logic_error("one failing disk at a time");
  sqlite3_initialize();
  real_vfs = sqlite3_vfs_find(nullptr);
  vfs_ = *real_vfs;
  vfs_.pNext = nullptr;
  vfs_.zName = "failing";
  vfs_.szOsFile += static_cast<int>(sizeof(File));
  vfs_.xOpen = open;
  disk = this;
  if (sqlite3_vfs_register(&vfs_, 1) != SQLITE_OK) throw std::runtime_error("no failing disk");
}

FailingDisk::~FailingDisk() {
  sqlite3_vfs_unregister(&vfs_);
  sqlite3_vfs_register(real_vfs, 1);
  disk = nullptr;
}

void FailingDisk::fail(Failure failure, int before, bool lasting) {
  repair();
  armed_ = true;
  failure_ = failure;
  before_ = before;
  lasting_ = lasting;
}

void FailingDisk::repair() {
  armed_ = false;
  failures_ = syncs_ = writes_ = 0;
}

bool FailingDisk::strikes(bool concerned, int count) {
  if (!armed_ || !concerned || count < before_ || (!lasting_ && count > before_)) return false;
  ++failures_;
  return true;
}

int FailingDisk::before_sync() {
  if (!strikes(failure_ == Failure::sync, syncs_++)) return SQLITE_OK;
  errno = EIO;
  return SQLITE_IOERR_FSYNC;
}

int FailingDisk::before_write(sqlite3_file* real, const void* bytes, int count, sqlite3_int64 offset) {
  if (!strikes(failure_ != Failure::sync, writes_++)) return SQLITE_OK;
  if (failure_ == Failure::short_write) (void)real->pMethods->xWrite(real, bytes, count / 2, offset);
  errno = failure_ == Failure::write ? EIO : ENOSPC;
  return failure_ == Failure::write ? SQLITE_IOERR_WRITE : SQLITE_FULL;
}

}  // namespace kvel::faults
