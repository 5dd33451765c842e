// Answers to the shell's own backend calls.
#include "shell/configuration/response.h"

#include "kvel/status.h"

namespace kvel::shell {

bool succeeded(std::int32_t status) { return status == KVEL_STATUS_ok || status == KVEL_STATUS_more_data; }

CallFailure failure(std::int32_t status) { return {status, syserr2str(status)}; }

ObjectRecord Response::json() const {
  const auto* text = static_cast<const char*>(holder_.data);
  return ObjectRecord::parse(text, text + holder_.length, nullptr, false);
}

}  // namespace kvel::shell
