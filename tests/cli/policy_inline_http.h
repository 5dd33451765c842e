// What the tests of HTTP inspection's inline match share.
#pragma once

#include <initializer_list>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/wire_record.h"

namespace kvel::cli::test {

class PolicyMapInlineHttp : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configinspect_l7http", tokens, form);
  }
};

// What a command without names does: its record, and everything beside it zero.
inline Events http_match(std::initializer_list<Part> parts) {
  return {"bind 2",
          "call cm_update_l7_inline_http_insp_match(u16 7, session 0x01020304, u8 1, '', '', '', " +
              buffer(record(328, parts)) + ")",
          "return 0"};
}

inline Events http_match_refused(const std::string& message) { return {"bind 2", out(message), "return 255"}; }

}  // namespace kvel::cli::test
