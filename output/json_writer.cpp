// Collects the tree and prints it, two blanks of indent for each level.
#include "output/json_writer.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "output/escape.h"

namespace kvel::output {

void JsonWriter::Object::add(std::string_view name, Value value) {
  // From the back: records repeat the name that came last.
  const auto found =
      std::find_if(members.rbegin(), members.rend(), [&](const Member& member) { return member.name == name; });
  if (found != members.rend()) {
    found->values.push_back(std::move(value));
    return;
  }
  Member member{std::string(name), {}};
  member.values.push_back(std::move(value));
  members.push_back(std::move(member));
}

void JsonWriter::start_element(std::string_view name) {
  path_.reserve(kDeepest);
  auto object = std::make_unique<Object>();
  Object* const opened = object.get();
  Object& parent = path_.empty() ? document_ : *path_.back();
  parent.add(name, Value{.object = std::move(object), .scalar = {}});
  path_.push_back(opened);
}

void JsonWriter::add_leaf(std::string_view name, Scalar scalar) {
  const bool is_literal = !scalar.literal.empty();
  path_.back()->add(name, Value{{}, std::string(is_literal ? scalar.literal : scalar.text), is_literal});
}

void JsonWriter::end_element(std::string_view) noexcept { path_.pop_back(); }

void JsonWriter::end_document(bool) noexcept {
  write(document_, 0);
  destination().append('\n');
}

// Recursion ends with the depth of the document, kDeepest elements.
void JsonWriter::write(const Object& object, std::size_t level) {
  Destination& out = destination();
  out.append('{');
  bool first = true;
  for (const Member& member : object.members) {
    begin_line(level + 1, std::exchange(first, false));
    write_string(member.name);
    out.append(": ");
    write(member, level + 1);
  }
  if (!first) begin_line(level, true);
  out.append('}');
}

void JsonWriter::write(const Member& member, std::size_t level) {
  if (member.values.size() == 1) return write(member.values.front(), level);
  destination().append('[');
  bool first = true;
  for (const Value& value : member.values) {
    begin_line(level + 1, std::exchange(first, false));
    write(value, level + 1);
  }
  begin_line(level, true);
  destination().append(']');
}

void JsonWriter::write(const Value& value, std::size_t level) {
  if (value.object) return write(*value.object, level);
  if (value.is_literal) return destination().append(value.scalar);
  write_string(value.scalar);
}

void JsonWriter::write_string(std::string_view text) {
  destination().append('"');
  write_escaped(destination(), text, Dialect::json);
  destination().append('"');
}

void JsonWriter::begin_line(std::size_t level, bool first) {
  destination().append(first ? "\n" : ",\n");
  destination().blanks(2 * level);
}

}  // namespace kvel::output
