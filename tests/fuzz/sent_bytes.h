// What a client may send over one connection, out of a fuzzer's bytes.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <string>

namespace kvel::fuzz {

// Any bytes at all, or a greeting and requests that fit the call table, of which a few bytes may have been changed.
[[nodiscard]] std::string any_connection(FuzzedDataProvider& bytes);

}  // namespace kvel::fuzz
