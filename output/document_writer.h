// What XML and JSON have in common: which elements are open, where a value or a text line belongs, and that the result
// is always one document. The two writers below it only know how their form is written.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "output/destination.h"

namespace kvel::output {

// One value: what is shown, and the same as JSON writes it unquoted where it is a number or a truth (empty otherwise).
struct Scalar {
  std::string_view text;
  std::string_view literal;
};

// The rules are those of output/output.h. Every call but finish() may throw std::bad_alloc; the document is whole
// without what that call was to add, and can go on.
class DocumentWriter {
 public:
  explicit DocumentWriter(Destination& destination) : destination_(destination) {}
  DocumentWriter(const DocumentWriter&) = delete;
  DocumentWriter& operator=(const DocumentWriter&) = delete;
  virtual ~DocumentWriter() = default;

  void open(std::string_view tag);
  void close(std::string_view tag);
  void value(std::string_view tag, Scalar scalar);

  // Pieces of text lines, each up to any number of line ends: what is only layout, and printed values.
  void layout(std::string_view piece) { add_text(piece, false); }
  void blanks(std::size_t count) { line_.append(count, ' '); }
  void data(std::string_view piece) { add_text(piece, true); }

  // Ends the document; nothing may be called after it.
  void finish() noexcept;

 protected:
  // How deep elements nest, the root included: well within what parsers take.
  static constexpr std::size_t kDeepest = 200;

  [[nodiscard]] Destination& destination() const { return destination_; }

 private:
  // An element that its header opened and no footer closed yet.
  struct Open {
    std::size_t name;  // where its name starts in names_; it ends where the next one starts
    bool ends_here;    // false for the root, which ends with the document, and for what is nested too deep
  };

  // Each of these leaves the document as it was when it throws. Names are valid XML names.
  virtual void start_element(std::string_view name) = 0;
  virtual void add_leaf(std::string_view name, Scalar scalar) = 0;
  virtual void end_element(std::string_view name) noexcept = 0;
  // The end of the document, after the end of its root.
  virtual void end_document(bool empty) noexcept = 0;

  void start_root(std::string_view name);
  void add_text(std::string_view piece, bool data);
  void end_line();
  void close_last() noexcept;
  [[nodiscard]] std::string_view last_name() const { return std::string_view(names_).substr(open_.back().name); }

  Destination& destination_;

  std::string root_;       // empty until the root is open
  std::size_t depth_ = 0;  // elements that are really open, the root included
  std::string names_;
  std::vector<Open> open_;

  // The text line so far, and the part of it that holds printed values.
  std::string line_;
  std::size_t data_begin_ = std::string::npos;
  std::size_t data_end_ = 0;
};

}  // namespace kvel::output
