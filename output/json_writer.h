// The JSON form: a tree of objects, held until the end because a name that comes again turns its value into an array.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "output/document_writer.h"

namespace kvel::output {

class JsonWriter final : public DocumentWriter {
 public:
  using DocumentWriter::DocumentWriter;

 private:
  struct Object;

  // An object when it has one, else a number or a string, not escaped yet.
  struct Value {
    std::unique_ptr<Object> object;
    std::string scalar;
    bool is_literal = false;
  };
  struct Member {
    std::string name;
    std::vector<Value> values;  // never empty; several are an array
  };
  struct Object {
    std::vector<Member> members;  // in the order of first appearance

    void add(std::string_view name, Value value);
  };

  void start_element(std::string_view name) override;
  void add_leaf(std::string_view name, Scalar scalar) override;
  void end_element(std::string_view name) noexcept override;
  void end_document(bool empty) noexcept override;

  void write(const Object& object, std::size_t level);
  void write(const Member& member, std::size_t level);
  void write(const Value& value, std::size_t level);
  void write_string(std::string_view text);
  void begin_line(std::size_t level, bool first);

  Object document_;            // its one member is the root
  std::vector<Object*> path_;  // the open elements below it
};

}  // namespace kvel::output
