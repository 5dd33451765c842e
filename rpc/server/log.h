// How the server reports events to its host, which decides where they go.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace kvel::rpc {

// debug: sessions that come and go; warning: a peer or the system did something wrong and the server goes on without
// it.
enum class LogLevel : std::uint8_t { debug, info, warning };

// May throw std::bad_alloc, and nothing else: the line is lost then.
using Logger = std::function<void(LogLevel, std::string_view)>;

}  // namespace kvel::rpc
