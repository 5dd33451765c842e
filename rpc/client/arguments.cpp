// Reading and checking of variable arguments.
#include "rpc/client/arguments.h"

#include <limits>

#include "rpc/wire/frame.h"

namespace kvel::rpc {

namespace {

bool assign_small(Argument& argument, int value, int max) {
  argument.number = static_cast<std::uint32_t>(value);
  return value >= 0 && value <= max;
}

}  // namespace

bool read_arguments(const CallRow& row, std::va_list arguments, CallArguments& read) {
  bool fits = true;
  std::size_t text_bytes = 0;
  for (std::size_t index = 0; index < row.count; ++index) {
    Argument& argument = read.values[index];
    const int code = va_arg(arguments, int);
    fits = fits && code == static_cast<int>(row.shapes[index].type);
    argument.type = row.shapes[index].type;
    switch (code) {
      case TNRPC_ARG_U8:
        fits = assign_small(argument, va_arg(arguments, int), std::numeric_limits<std::uint8_t>::max()) && fits;
        break;
      case TNRPC_ARG_U16:
        fits = assign_small(argument, va_arg(arguments, int), std::numeric_limits<std::uint16_t>::max()) && fits;
        break;
      case TNRPC_ARG_U32:
      case TNRPC_ARG_SESSION:
        argument.number = va_arg(arguments, std::uint32_t);
        break;
      case TNRPC_ARG_STRING: {
        const char* text = va_arg(arguments, const char*);
        fits = fits && text != nullptr;
        if (!fits) break;
        argument.text = text;
        text_bytes += argument.text.size();
        break;
      }
      case TNRPC_ARG_BUFFER: {
        void* bytes = va_arg(arguments, void*);
        const std::uint32_t length = va_arg(arguments, std::uint32_t);
        fits = fits && bytes != nullptr && length == row.shapes[index].length;
        argument.bytes = {static_cast<std::byte*>(bytes), length};
        break;
      }
      case TNRPC_ARG_RESPONSE:
        read.holder = va_arg(arguments, TnrpcResponse*);
        fits = fits && read.holder != nullptr;
        if (read.holder != nullptr) *read.holder = TnrpcResponse{0, nullptr};
        argument.response = &read.response;
        break;
      default:
        return false;
    }
  }
  return fits && text_bytes <= kMaxTextBytes;
}

}  // namespace kvel::rpc
