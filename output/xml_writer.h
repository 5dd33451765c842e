// The XML form, written as it comes: a declaration, then one element a line, two blanks of indent for each level.
#pragma once

#include <cstddef>
#include <string_view>

#include "output/document_writer.h"

namespace kvel::output {

class XmlWriter final : public DocumentWriter {
 public:
  explicit XmlWriter(Destination& destination);

 private:
  void start_element(std::string_view name) override;
  void add_leaf(std::string_view name, Scalar scalar) override;
  void end_element(std::string_view name) noexcept override;
  void end_document(bool empty) noexcept override;

  void begin_line();

  std::size_t level_ = 0;
  bool start_tag_open_ = false;  // its '>' waits for what comes next: an element without content is "<name/>"
};

}  // namespace kvel::output
