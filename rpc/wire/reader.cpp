// What the protocol takes of msgpack. Every width is taken for a value that fits it, so that other clients may use
// whatever msgpack library they have.
#include "rpc/wire/reader.h"

#include <algorithm>
#include <limits>
#include <msgpack.hpp>

namespace kvel::rpc {

// Called by msgpack's parser with what comes next; an answer of false ends the parsing. The parser keeps its own record
// of the one array that is open, and makes nothing of the values.
class Reader::Visitor : public msgpack::null_visitor {
 public:
  Visitor(Reader& reader, std::span<std::byte> payload) : reader_(reader), payload_(payload) {}

  bool start_array(std::uint32_t count) {
    if (reader_.announced_) return false;
    reader_.announced_ = count;
    return true;
  }
  bool visit_positive_integer(std::uint64_t number) {
    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return take({ValueKind::integer, static_cast<std::int64_t>(std::min(number, kMax)), {}});
  }
  bool visit_negative_integer(std::int64_t number) { return take({ValueKind::integer, number, {}}); }
  bool visit_str(const char* data, std::uint32_t size) { return take({ValueKind::text, 0, piece(data, size)}); }
  bool visit_bin(const char* data, std::uint32_t size) { return take({ValueKind::bytes, 0, piece(data, size)}); }

  static bool visit_nil() { return false; }
  static bool visit_boolean(bool /*value*/) { return false; }
  static bool visit_float32(float /*value*/) { return false; }
  static bool visit_float64(double /*value*/) { return false; }
  static bool visit_ext(const char* /*data*/, std::uint32_t /*size*/) { return false; }
  static bool start_map(std::uint32_t /*count*/) { return false; }

 private:
  bool take(const Value& value) {
    if (!reader_.announced_ || reader_.count_ == kMaxValues) return false;
    reader_.values_[reader_.count_++] = value;
    return true;
  }
  std::span<std::byte> piece(const char* data, std::uint32_t size) const {
    if (size == 0) return payload_.first(0);  // the parser has no place for it
    return payload_.subspan(static_cast<std::size_t>(data - reinterpret_cast<const char*>(payload_.data())), size);
  }

  Reader& reader_;
  std::span<std::byte> payload_;
};

Reader::Reader(std::span<std::byte> payload) {
  Visitor visitor(*this, payload);
  std::size_t end = 0;
  try {
    whole_ = msgpack::parse(reinterpret_cast<const char*>(payload.data()), payload.size(), end, visitor) &&
             end == payload.size();
  } catch (const msgpack::unpack_error&) {  // an extension longer than the machine's addresses; it is refused anyway
  }
}

std::optional<Value> Reader::value() {
  if (next_ == count_) return std::nullopt;
  return values_[next_++];
}

}  // namespace kvel::rpc
