// What the tests of the output library share: a session into memory, and strict parsers for what came out.
#pragma once

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "kvel/output.h"
#include "output/output.h"

namespace kvel::output::testing {

// A stream that writes to memory.
class Memory {
 public:
  Memory() : file_(open_memstream(&data_, &size_)) {}
  Memory(const Memory&) = delete;
  Memory& operator=(const Memory&) = delete;
  ~Memory() {
    std::fclose(file_);
    std::free(data_);
  }
  [[nodiscard]] std::FILE* file() const { return file_; }
  [[nodiscard]] std::string bytes() const {
    std::fflush(file_);
    return {data_, size_};
  }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::FILE* file_;
};

// What `calls` write as `format`; the session has to succeed.
template <class Calls>
std::string written(Format format, Calls&& calls) {
  Memory memory;
  begin(format, memory.file());
  calls();
  EXPECT_TRUE(finish());
  EXPECT_EQ(failure(), 0);
  return memory.bytes();
}

using XmlDocument = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

// Null unless the bytes are well-formed XML, names and namespaces included.
inline XmlDocument parse_xml(const std::string& bytes) {
  const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> context(xmlNewParserCtxt(), &xmlFreeParserCtxt);
  XmlDocument document(xmlCtxtReadMemory(context.get(), bytes.data(), static_cast<int>(bytes.size()), "output.xml",
                                         nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                       &xmlFreeDoc);
  if (context->wellFormed == 0 || context->nsWellFormed == 0) document.reset();
  return document;
}

// The text inside an element.
inline std::string content(const xmlNode* node) {
  const std::unique_ptr<xmlChar, decltype(xmlFree)> text(xmlNodeGetContent(node), xmlFree);
  return reinterpret_cast<const char*>(text.get());
}

// The XML form of `calls`; it has to be well-formed.
template <class Calls>
std::string xml(Calls&& calls) {
  std::string bytes = written(Format::xml, calls);
  EXPECT_NE(parse_xml(bytes), nullptr) << bytes;
  return bytes;
}

inline constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// The same without its declaration, to keep expectations short.
template <class Calls>
std::string xml_body(Calls&& calls) {
  std::string bytes = xml(calls);
  EXPECT_TRUE(std::string_view(bytes).starts_with(kDeclaration)) << bytes;
  return bytes.substr(kDeclaration.size());
}

// The JSON form of `calls`; it has to be valid.
template <class Calls>
std::string json(Calls&& calls) {
  std::string bytes = written(Format::json, calls);
  EXPECT_TRUE(nlohmann::json::accept(bytes)) << bytes;
  return bytes;
}

}  // namespace kvel::output::testing
