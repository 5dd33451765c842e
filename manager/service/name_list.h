// The calls that list the names of objects, page by page.
#pragma once

#include <cstddef>
#include <string_view>

#include "manager/service/calls.h"
#include "manager/service/fields.h"

namespace kvel::manager {

inline constexpr std::size_t kNamesPerPage = 1000;

// Appends the names of the listed objects after the name `last`, as many as fit on a page, and returns whether more are
// left.
template <class Table, class IsListed>
Status list_names(const Table& table, const IsListed& is_listed, std::string_view last, CursorField cursor,
                  WordField more, rpc::ResponseBuffer& response) {
  std::string_view last_listed;
  std::size_t count = 0;
  bool is_more = false;
  for (auto entry = table.upper_bound(last); entry != table.end(); ++entry) {
    const std::string_view name = entry.key();
    if (!is_listed(*entry.value())) continue;
    // A name too many shows that a further page is not empty.
    is_more = count == kNamesPerPage;
    if (is_more) break;
    put_text({response.extend(kNameBytes), kNameBytes}, name);
    last_listed = name;
    ++count;
  }
  // `last` may be a view of the cursor: it is written last.
  if (count != 0) put_text(cursor, last_listed);
  put_word(more, is_more ? 1 : 0);
  return is_more ? Status::more_data : Status::ok;
}

}  // namespace kvel::manager
