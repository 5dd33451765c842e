// Collects object names page by page from the backend and makes the list that a completion hook returns.
#pragma once

#include <cstdint>

#include "cli/common/backend.h"
#include "cli/common/big_endian.h"
#include "kvel/completion.h"
#include "kvel/rpc.h"

namespace kvel::cli {

// The position of a paged list. The backend writes both; the hook never changes them between pages.
struct NameCursor {
  char last_name[65] = {};
};

struct PageRequest {
  u16 context;
  std::uint32_t kind;
  NameCursor cursor;
  be32 more;  // nonzero after a call: there is another page
};

// An allocation that failed: how many names the last page had, and where.
struct FailedAllocation {
  std::uint32_t names_of_last_page;
  int line;  // of the source
};

// What differs between the modules' hooks.
struct CompletionModule {
  // Makes the call for one page; returns its status.
  std::int32_t (*fetch)(PageRequest& page, TnrpcResponse& response);
  // Report a failed allocation to the user; a null `node_failed` reports nothing.
  void (*list_failed)(const FailedAllocation& failed);
  void (*node_failed)(const FailedAllocation& failed);
  void (*array_failed)(const FailedAllocation& failed);
  void (*entry_failed)(const FailedAllocation& failed);
  // Without any name there is no list, instead of an empty one.
  bool null_without_names = false;
};

// What most modules print for an entry that cannot be allocated.
void print_failed_entry(const FailedAllocation& failed);

// The module of class-maps and that of policy-maps, which differ in their call only.
[[nodiscard]] CompletionModule completion_by_kind(std::int32_t (*fetch)(PageRequest& page, TnrpcResponse& response));

// A new list of the names, in the backend's order, or null: the call failed, a page came back empty, or there was no
// memory. The holder of a page is released after every call that succeeded.
CompletionList* complete_names(const CompletionModule& module, u16 context, std::uint32_t kind);

}  // namespace kvel::cli
