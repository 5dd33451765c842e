// The paging completion hook.
#include "cli/common/completion.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvel::cli {

namespace {

constexpr std::size_t kRecordSize = sizeof(NameCursor);  // a page is records of this width, NUL-padded

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

  [[nodiscard]] bool append(const char* record) {
    auto* node = static_cast<NameNode*>(std::malloc(sizeof(NameNode)));
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
bool append_page(NameList& names, const TnrpcResponse& page) {
  const auto* record = static_cast<const char*>(page.data);
  for (std::size_t left = static_cast<std::size_t>(page.length) / kRecordSize; left > 0; --left) {
    if (!names.append(record)) return false;
    record += kRecordSize;
  }
  return true;
}

// Fetches every page. On failure nothing but the names is left to release.
bool collect(const CompletionModule& module, PageRequest& page, NameList& names, std::uint32_t& names_of_last_page) {
  do {
    TnrpcResponse response;
    tnrpc_init_resp(&response);
    if (!succeeded(module.fetch(page, response))) return false;
    if (response.length < 1 || response.data == nullptr) {
      tnrpc_free(&response);
      return false;
    }
    const bool complete = append_page(names, response);
    names_of_last_page = static_cast<std::uint32_t>(static_cast<std::size_t>(response.length) / kRecordSize);
    tnrpc_free(&response);
    if (!complete) {
      if (module.node_failed != nullptr) module.node_failed();
      return false;
    }
  } while (page.more != 0);
  return true;
}

// A new pair with a copy of the name and an empty help text; null when there is no memory for all three.
CompletionEntry* make_entry(const char* name) {
  auto* entry = static_cast<CompletionEntry*>(std::malloc(sizeof(CompletionEntry)));
  if (entry == nullptr) return nullptr;
  entry->name = strdup(name);
  entry->help = entry->name == nullptr ? nullptr : static_cast<char*>(std::calloc(1, 1));
  // What was made of a pair stays allocated when the rest of it fails, like the pairs before it.
  return entry->help == nullptr ? nullptr : entry;  // NOLINT(clang-analyzer-unix.Malloc)
}

// Fills the list from the names. When memory ends, the pairs and strings made so far are deliberately left unfreed.
bool fill(const CompletionModule& module, CompletionList& list, const NameList& names,
          std::uint32_t names_of_last_page) {
  auto** entries = static_cast<CompletionEntry**>(std::malloc(names.count() * sizeof(CompletionEntry*)));
  if (entries == nullptr) {
    module.array_failed(names_of_last_page);
    return false;
  }
  for (const NameNode* node = names.first(); node != nullptr; node = node->next) {
    CompletionEntry* entry = make_entry(node->name);
    if (entry == nullptr) {
      module.entry_failed();
      std::free(entries);
      return false;
    }
    entries[list.count++] = entry;
  }
  list.entries = entries;
  return true;
}

// The sizes told are the appliance's own, whatever the width of a pointer here.
void print_failed_allocation(std::uint32_t bytes) {
  std::printf("Error: Memory allocation failed for %u bytes\n", static_cast<unsigned>(bytes));
}

}  // namespace

CompletionModule completion_by_kind(std::int32_t (*fetch)(PageRequest& page, TnrpcResponse& response)) {
  return {
      .fetch = fetch,
      .list_failed = [] { print_failed_allocation(12); },
      .node_failed = nullptr,
      .array_failed = [](std::uint32_t names_of_last_page) { print_failed_allocation(4 * names_of_last_page); },
      .entry_failed = [] { print_failed_allocation(8); },
  };
}

CompletionList* complete_names(const CompletionModule& module, u16 context, std::uint32_t kind) {
  auto* list = static_cast<CompletionList*>(std::calloc(1, sizeof(CompletionList)));
  if (list == nullptr) {
    module.list_failed();
    return nullptr;
  }
  PageRequest page{context, kind, {}, {}};
  NameList names;
  std::uint32_t names_of_last_page = 0;
  if (!collect(module, page, names, names_of_last_page) || !fill(module, *list, names, names_of_last_page)) {
    std::free(list);
    return nullptr;
  }
  return list;
}

}  // namespace kvel::cli
