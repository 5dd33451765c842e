#include "manager/store/store_error.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

namespace kvel::manager {
namespace {

std::string_view advice(StoreFault fault) {
  switch (fault) {
    case StoreFault::busy:
      return "only one process can have it open, which may be a kvelmgrd that shells connect to";
    case StoreFault::not_a_file:
      return "name a file";
    case StoreFault::no_access:
      return "check the path and its permissions";
    case StoreFault::read_only:
      return "make it writable, or name another file";
    case StoreFault::full:
      return "free some space and try again";
    case StoreFault::damaged:
      return "it was left as it is: put a sound copy in its place, or move it away to start anew";
    case StoreFault::incomplete:
      return "it was left as it is: copy the file and all that lies beside it before anything else, then put a sound "
             "copy in its place, or go on without these changes by --accept-loss";
    case StoreFault::replaced:
      return "no change can be stored: what is running is still whole, so save it (show running-config), then stop "
             "this process and put the right file in its place";
    case StoreFault::foreign:
      return "name another file";
    case StoreFault::newer:
      return "use that version, or name another file";
    case StoreFault::conflict:
      return "somebody else has changed it: look at what is there now and try again";
    case StoreFault::unknown:
    case StoreFault::failed:
      break;
  }
  return "check the disk and try again";
}

}  // namespace

StoreError store_error(StoreFault fault, std::string_view path, std::string_view what) {
  return {fault, fmt::format("store {}: {}; {}", path, what, advice(fault))};
}

StoreError system_error(std::string_view path, std::string_view doing, int error_number) {
  return store_error(fault_of_errno(error_number), path,
                     fmt::format("{}: {}", doing, std::generic_category().message(error_number)));
}

StoreFault fault_of_errno(int error_number) {
  switch (error_number) {
    case EACCES:
    case EPERM:
    case ENOTDIR:
    case ENOENT:
    case ELOOP:
    case ENAMETOOLONG:
      return StoreFault::no_access;
    case EISDIR:
      return StoreFault::not_a_file;
    case EROFS:
      return StoreFault::read_only;
    case ENOSPC:
    case EDQUOT:
      return StoreFault::full;
    default:
      return StoreFault::failed;
  }
}

}  // namespace kvel::manager
