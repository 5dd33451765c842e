// The paging completion hook.
#include "cli/common/completion.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvel::cli {

namespace {

constexpr std::size_t kRecordSize = sizeof(NameCursor);  // a page is records of this width, NUL-padded

// malloc, which notes the line that asked in vain.
void* allocate(std::size_t size, FailedAllocation& failed, int line = __builtin_LINE()) {
  void* block = std::malloc(size);
  if (block == nullptr) failed.line = line;
  return block;
}

struct NameNode {
  NameNode* next;
  char name[kRecordSize];
};

// The names collected so far, in arrival order; lives during one hook call.
class NameList {
 public:
  NameList() = default;
  NameList(const NameList&) = delete;
  NameList& operator=(const NameList&) = delete;
  ~NameList() {
    while (first_ != nullptr) {
      NameNode* next = first_->next;
      std::free(first_);
      first_ = next;
    }
  }

  [[nodiscard]] bool append(const char* record, FailedAllocation& failed) {
    auto* node = static_cast<NameNode*>(allocate(sizeof(NameNode), failed));
    if (node == nullptr) return false;
    node->next = nullptr;
    std::memcpy(node->name, record, kRecordSize);
    node->name[kRecordSize - 1] = '\0';
    *end_ = node;
    end_ = &node->next;
    ++count_;
    return true;
  }

  [[nodiscard]] const NameNode* first() const { return first_; }
  [[nodiscard]] std::size_t count() const { return count_; }

 private:
  NameNode* first_ = nullptr;
  NameNode** end_ = &first_;
  std::size_t count_ = 0;
};

// Adds the names of one page; false when there is no memory for one of them. A trailing part of a record is no name.
bool append_page(NameList& names, const TnrpcResponse& page, FailedAllocation& failed) {
  const auto* record = static_cast<const char*>(page.data);
  failed.names_of_last_page = static_cast<std::uint32_t>(static_cast<std::size_t>(page.length) / kRecordSize);
  for (std::uint32_t left = failed.names_of_last_page; left > 0; --left) {
    if (!names.append(record, failed)) return false;
    record += kRecordSize;
  }
  return true;
}

// Fetches every page. On failure nothing but the names is left to release.
bool collect(const CompletionModule& module, PageRequest& page, NameList& names, FailedAllocation& failed) {
  do {
    TnrpcResponse response{};
    tnrpc_init_resp(&response);
    if (!succeeded(module.fetch(page, response))) return false;
    if (response.length < 1 || response.data == nullptr) {
      tnrpc_free(&response);
      return false;
    }
    const bool complete = append_page(names, response, failed);
    tnrpc_free(&response);
    if (!complete) {
      if (module.node_failed != nullptr) module.node_failed(failed);
      return false;
    }
  } while (page.more != 0);
  return true;
}

// A new pair with a copy of the name and an empty help text; null when there is no memory for all three. What was made
// of a pair stays allocated when the rest of it fails, like the pairs before it.
CompletionEntry* make_entry(const char* name, FailedAllocation& failed) {
  auto* entry = static_cast<CompletionEntry*>(allocate(sizeof(CompletionEntry), failed));
  if (entry == nullptr) return nullptr;
  failed.line = __LINE__ + 1;
  entry->name = strdup(name);
  if (entry->name == nullptr) return nullptr;
  failed.line = __LINE__ + 1;
  entry->help = static_cast<char*>(std::calloc(1, 1));
  return entry->help == nullptr ? nullptr : entry;  // NOLINT(clang-analyzer-unix.Malloc)
}

// Fills the list from the names. When memory ends, the pairs and strings made so far are deliberately left unfreed.
bool fill(const CompletionModule& module, CompletionList& list, const NameList& names, FailedAllocation& failed) {
  auto** entries = static_cast<CompletionEntry**>(allocate(names.count() * sizeof(CompletionEntry*), failed));
  if (entries == nullptr) {
    module.array_failed(failed);
    return false;
  }
  for (const NameNode* node = names.first(); node != nullptr; node = node->next) {
    CompletionEntry* entry = make_entry(node->name, failed);
    if (entry == nullptr) {
      module.entry_failed(failed);
      std::free(entries);
      return false;
    }
    entries[list.count++] = entry;  // NOLINT(clang-analyzer-unix.Malloc): without names there is no node
  }
  list.entries = entries;
  return true;
}

// The sizes printed are the appliance's own, whatever the width of a pointer here.
void print_failed_bytes(std::uint32_t bytes) {
  std::printf("Error: Memory allocation failed for %u bytes\n", static_cast<unsigned>(bytes));
}

}  // namespace

void print_failed_entry(const FailedAllocation&) { print_failed_bytes(8); }

CompletionModule completion_by_kind(std::int32_t (*fetch)(PageRequest& page, TnrpcResponse& response)) {
  return {
      .fetch = fetch,
      .list_failed = [](const FailedAllocation&) { print_failed_bytes(12); },
      .node_failed = nullptr,
      .array_failed = [](const FailedAllocation& failed) { print_failed_bytes(4 * failed.names_of_last_page); },
      .entry_failed = print_failed_entry,
  };
}

CompletionList* complete_names(const CompletionModule& module, u16 context, std::uint32_t kind) {
  FailedAllocation failed{};
  auto* list = static_cast<CompletionList*>(allocate(sizeof(CompletionList), failed));
  if (list == nullptr) {
    module.list_failed(failed);
    return nullptr;
  }
  *list = {};
  PageRequest page{context, kind, {}, {}};
  NameList names;
  const bool listed = collect(module, page, names, failed) && (names.count() != 0 || !module.null_without_names) &&
                      fill(module, *list, names, failed);
  if (listed) return list;
  std::free(list);
  return nullptr;
}

}  // namespace kvel::cli
