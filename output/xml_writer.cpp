// Start tags, leaves and end tags.
#include "output/xml_writer.h"

#include <string_view>

#include "output/escape.h"

namespace kvel::output {

XmlWriter::XmlWriter(Destination& out) : DocumentWriter(out) {
  out.append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

void XmlWriter::start_element(std::string_view name) {
  begin_line();
  destination().append('<');
  destination().append(name);
  start_tag_open_ = true;
  ++level_;
}

void XmlWriter::add_leaf(std::string_view name, Scalar scalar) {
  begin_line();
  Destination& out = destination();
  out.append('<');
  out.append(name);
  out.append('>');
  write_escaped(out, scalar.text, Dialect::xml);
  out.append("</");
  out.append(name);
  out.append(">\n");
}

void XmlWriter::end_element(std::string_view name) noexcept {
  --level_;
  Destination& out = destination();
  if (start_tag_open_) {
    start_tag_open_ = false;
    out.append("/>\n");
    return;
  }
  begin_line();
  out.append("</");
  out.append(name);
  out.append(">\n");
}

void XmlWriter::end_document(bool empty) noexcept {
  if (empty) destination().append("<output/>\n");
}

void XmlWriter::begin_line() {
  if (start_tag_open_) destination().append(">\n");
  start_tag_open_ = false;
  destination().blanks(2 * level_);
}

}  // namespace kvel::output
