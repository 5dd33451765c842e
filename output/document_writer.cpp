// Elements, values and text lines in whatever order they come, turned into one document.
#include "output/document_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "output/tags.h"

namespace kvel::output {
namespace {

constexpr std::string_view kImplicitRoot = "output";
constexpr std::string_view kTextElement = "text";
constexpr std::string_view kBlanks = " \t\r\f\v";

}  // namespace

void DocumentWriter::open(std::string_view tag) {
  end_line();
  const ElementName name(tag);
  const bool is_root = root_.empty();
  const bool ends_here = !is_root && depth_ < kDeepest;

  // All that can fail comes before the first change.
  names_.reserve(std::max(names_.capacity(), names_.size() + name.view().size()));
  if (open_.size() == open_.capacity()) open_.reserve(2 * open_.size() + 16);
  if (is_root) {
    start_root(name.view());
  } else if (ends_here) {
    start_element(name.view());
    ++depth_;
  }
  open_.push_back({names_.size(), ends_here});
  names_.append(name.view());
}

void DocumentWriter::close(std::string_view tag) {
  end_line();
  const ElementName name(tag);
  std::size_t end = names_.size();
  for (std::size_t index = open_.size(); index-- > 0; end = open_[index].name) {
    const std::size_t begin = open_[index].name;
    if (std::string_view(names_).substr(begin, end - begin) != name.view()) continue;
    while (open_.size() > index)
      close_last();
    return;
  }
}

void DocumentWriter::value(std::string_view tag, Scalar scalar) {
  end_line();
  if (root_.empty()) start_root(kImplicitRoot);
  add_leaf(ElementName(tag).view(), scalar);
}

void DocumentWriter::finish() noexcept {
  try {
    end_line();
  } catch (const std::exception&) {
    destination_.fail(ENOMEM);
  }
  while (!open_.empty())
    close_last();
  if (!root_.empty()) end_element(root_);
  end_document(root_.empty());
}

void DocumentWriter::start_root(std::string_view name) {
  std::string root(name);
  start_element(name);
  root_ = std::move(root);
  depth_ = 1;
}

void DocumentWriter::add_text(std::string_view piece, bool data) {
  while (!piece.empty()) {
    const std::size_t line_end = piece.find('\n');
    const std::string_view part = piece.substr(0, line_end);
    const std::size_t begin = line_.size();
    line_.append(part);
    if (data) {
      data_begin_ = std::min(data_begin_, begin);
      data_end_ = line_.size();
    }
    if (line_end == std::string_view::npos) return;
    if (!line_.empty() && line_.back() == '\r') line_.pop_back();
    end_line();
    piece.remove_prefix(line_end + 1);
  }
}

void DocumentWriter::end_line() {
  const std::size_t first = line_.find_first_not_of(kBlanks);
  if (first != std::string::npos) {
    const std::size_t begin = std::min(first, data_begin_);
    const std::size_t end = std::min(line_.size(), std::max(line_.find_last_not_of(kBlanks) + 1, data_end_));
    if (root_.empty()) start_root(kImplicitRoot);
    add_leaf(kTextElement, {std::string_view(line_).substr(begin, end - begin), {}});
  }
  line_.clear();
  data_begin_ = std::string::npos;
  data_end_ = 0;
}

void DocumentWriter::close_last() noexcept {
  if (open_.back().ends_here) {
    end_element(last_name());
    --depth_;
  }
  names_.resize(open_.back().name);
  open_.pop_back();
}

}  // namespace kvel::output
