// The output for the pieces of an xprint line: bytes as printf prints them, or values and text lines of a document.
#pragma once

#include <cerrno>
#include <string_view>

#include "output/conversion.h"
#include "output/destination.h"
#include "output/document_writer.h"
#include "output/tags.h"

namespace kvel::output {

class TextSink {
 public:
  static constexpr Form kTaggedForm = Form::printed;
  static constexpr bool kKeepsLabels = true;

  explicit TextSink(Destination& destination) : destination_(destination) {}

  void tags(const char*) {}
  void layout(std::string_view text) { destination_.append(text); }
  void plain(const Rendered& value) {
    if (value.out_of_memory) destination_.fail(ENOMEM);
    destination_.blanks(value.left);
    destination_.append(value.body);
    destination_.blanks(value.right);
  }
  void tagged(const Rendered& value) { plain(value); }

 private:
  Destination& destination_;
};

class DocumentSink {
 public:
  static constexpr Form kTaggedForm = Form::bare;
  static constexpr bool kKeepsLabels = false;

  DocumentSink(DocumentWriter& writer, Destination& destination) : writer_(writer), destination_(destination) {}

  void tags(const char* list) { tags_ = TagList(list); }
  void stretch(bool kept) { kept_ = kept; }
  void layout(std::string_view text) {
    if (kept_) writer_.layout(text);
  }
  void plain(const Rendered& value) {
    if (value.out_of_memory) destination_.fail(ENOMEM);
    writer_.blanks(value.left);
    writer_.data(value.body);
    writer_.blanks(value.right);
  }
  void tagged(const Rendered& value) {
    if (value.out_of_memory) destination_.fail(ENOMEM);
    writer_.value(tags_.next(), {value.body, value.number});
  }

 private:
  DocumentWriter& writer_;
  Destination& destination_;
  TagList tags_{nullptr};
  bool kept_ = true;
};

}  // namespace kvel::output
