// The host of the plug-in: its platform functions, and its loading.
#include "tests/output/service_policy.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstring>

#include "kvel/host.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"
#include "kvel/rpc.h"
#include "tests/output/support.h"

namespace kvel::output::testing {

namespace {

const Answers* answers = nullptr;
std::size_t next_page = 0;

// Answers one call of cm_show_service_policy; its position is the backend's own.
std::int32_t answer(unsigned char* more, TnrpcResponse* response) {
  const std::string& page = answers->pages.at(next_page++);
  response->length = static_cast<std::int32_t>(page.size());
  response->data = std::malloc(page.size());
  std::memcpy(response->data, page.data(), page.size());
  const bool last = next_page == answers->pages.size();
  more[3] = last ? 0 : 1;
  return last ? answers->last_status : 0;
}

class Library {
 public:
  Library() : handle_(dlopen(KVEL_PLUGIN, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) ADD_FAILURE() << dlerror();
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { dlclose(handle_); }
  [[nodiscard]] KvelHandler* handler(const char* name) const {
    return reinterpret_cast<KvelHandler*>(dlsym(handle_, name));
  }

 private:
  void* handle_;
};

}  // namespace

Shown show_service_policy(Format format, const Answers& wanted, bool detail) {
  answers = &wanted;
  next_page = 0;
  const Library library;
  const CliToken name{kw::service_policy_name, {}, "edge"};
  const CliToken detail_token{kw::service_policy_detail, {}, nullptr};
  CliCommand command{};
  command.tokens[command.token_count++] = &name;
  if (detail) command.tokens[command.token_count++] = &detail_token;

  Shown shown;
  ::testing::internal::CaptureStdout();
  shown.document =
      written(format, [&] { shown.status = library.handler("kvelpolicymap_show_servicepolicy")(&command); });
  std::fflush(stdout);
  shown.printed = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(next_page, wanted.pages.size());
  return shown;
}

}  // namespace kvel::output::testing

using namespace kvel::output::testing;

std::int32_t tnrpc_clnt_init(std::int32_t) { return 0; }
void tnrpc_init_resp(TnrpcResponse* response) { *response = {}; }
void tnrpc_free(TnrpcResponse* response) { std::free(response->data); }
const char* syserr2str(std::int32_t) { return "a text"; }
std::int32_t vsh_platform_specific_rule_domain_check_valid(std::int32_t, const char*, std::uint32_t) { return 1; }
std::int32_t vsh_platform_matched_rule_modify_check(std::uint32_t) { return 0; }

std::int32_t tnrpc_call(const char* name, std::int32_t nargs, ...) {
  EXPECT_STREQ(name, "cm_show_service_policy");
  EXPECT_EQ(nargs, 6);
  unsigned char* last_buffer = nullptr;
  TnrpcResponse* response = nullptr;
  std::va_list arguments;
  va_start(arguments, nargs);
  for (std::int32_t index = 0; index < nargs; ++index) {
    switch (va_arg(arguments, int)) {
      case TNRPC_ARG_U16:
        static_cast<void>(va_arg(arguments, int));
        break;
      case TNRPC_ARG_U32:
        static_cast<void>(va_arg(arguments, std::uint32_t));
        break;
      case TNRPC_ARG_STRING:
        EXPECT_STREQ(va_arg(arguments, const char*), "edge");
        break;
      case TNRPC_ARG_BUFFER:
        last_buffer = static_cast<unsigned char*>(va_arg(arguments, void*));
        static_cast<void>(va_arg(arguments, std::uint32_t));
        break;
      case TNRPC_ARG_RESPONSE:
        response = va_arg(arguments, TnrpcResponse*);
        break;
      default:
        ADD_FAILURE() << "an argument of another type";
    }
  }
  va_end(arguments);
  return answer(last_buffer, response);
}
