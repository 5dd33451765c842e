// Any sequence of calls of the output library. As text it is what printf prints; as XML and as JSON it is one document
// (of libxml2 and of nlohmann-json) that holds every tagged value once, under its tag and in its order, as printed
// without its width; in JSON integers are exact numbers. A value without a tag is in one of the lines of text. No
// session loses anything.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "output/output.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/output_calls.h"

namespace {

using namespace kvel;
using namespace kvel::fuzz;
using output::Format;

std::string written(Format format, const std::vector<OutputCall>& calls) {
  char* data = nullptr;
  std::size_t size = 0;
  std::FILE* const file = open_memstream(&data, &size);
  output::begin(format, file);
  perform(calls);
  invariant(output::finish() && output::failure() == 0, "nothing of a session is lost");
  std::fclose(file);
  const std::unique_ptr<char, decltype(&std::free)> block(data, &std::free);
  return {data, size};
}

// The values of each element, in their order.
using Values = std::map<std::string, std::vector<std::string>>;

bool is_header(const std::string& name) { return name == "h1" || name == "h2" || name == "h3" || name == "output"; }

void collect(const xmlNode* element, Values& values) {
  const std::string name = reinterpret_cast<const char*>(element->name);
  if (!is_header(name)) {
    const std::unique_ptr<xmlChar, decltype(xmlFree)> text(xmlNodeGetContent(element), xmlFree);
    values[name].emplace_back(reinterpret_cast<const char*>(text.get()));
  }
  for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) collect(child, values);
  }
}

Values values_of_xml(const std::string& bytes) {
  using Context = std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)>;
  const Context context(xmlNewParserCtxt(), &xmlFreeParserCtxt);
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      xmlCtxtReadMemory(context.get(), bytes.data(), static_cast<int>(bytes.size()), "output.xml", nullptr,
                        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
      &xmlFreeDoc);
  invariant(document && context->wellFormed != 0 && context->nsWellFormed != 0, "the document is well-formed", bytes);
  Values values;
  collect(xmlDocGetRootElement(document.get()), values);
  return values;
}

// Values of one element at several places of a JSON document come place by place, so that their order is not compared.
void collect(const nlohmann::json& node, const std::string& name, Values& values) {
  if (node.is_object()) {
    for (const auto& [member, value] : node.items())
      collect(value, member, values);
  } else if (node.is_array()) {
    for (const nlohmann::json& item : node)
      collect(item, name, values);
  } else {
    values[name].push_back(node.is_string() ? node.get<std::string>() : "number " + node.dump());
  }
}

// How a document of JSON spells a value in collect(); a floating value has no one spelling.
std::string spelling_of(const PrintedValue& value) {
  return std::visit(
      [&](auto argument) -> std::string {
        using Argument = decltype(argument);
        if constexpr (std::is_same_v<Argument, const char*>) {
          return in_document(value.bare);
        } else if constexpr (std::is_integral_v<Argument>) {
          return "number " + std::to_string(argument);
        } else {
          return {};
        }
      },
      value.argument);
}

bool is_floating(const PrintedValue& value) { return std::holds_alternative<double>(value.argument); }

// What a floating value is in JSON: its text where that is a number of JSON, else the exact value.
double floating_number_of(const PrintedValue& value) {
  const bool is_number = !value.bare.starts_with(' ') && nlohmann::json::accept(value.bare);
  return is_number ? std::strtod(value.bare.c_str(), nullptr) : std::get<double>(value.argument);
}

template <typename Matches>
void take(Values& values, const PrintedValue& value, const std::string& document, Matches matches) {
  auto& of_tag = values[element_of(value.tag)];
  const auto found = std::find_if(of_tag.begin(), of_tag.end(), matches);
  invariant(found != of_tag.end(), "a value is in the document", document);
  of_tag.erase(found);
}

void check_json(const std::string& bytes, const std::vector<OutputCall>& calls) {
  const nlohmann::json document = nlohmann::json::parse(bytes, nullptr, false);
  invariant(!document.is_discarded() && document.is_object(), "the document is JSON", bytes);
  Values values;
  collect(document, "", values);
  std::vector<PrintedValue> floating;
  for (const OutputCall& call : calls) {
    for (const PrintedValue& value : call.values) {
      if (!value.is_tagged) continue;
      if (is_floating(value)) {
        floating.push_back(value);
        continue;
      }
      take(values, value, bytes,
           [expected = spelling_of(value)](const std::string& candidate) { return candidate == expected; });
    }
  }
  // After the integers, which have one spelling only.
  for (const PrintedValue& value : floating) {
    take(values, value, bytes, [expected = floating_number_of(value)](const std::string& candidate) {
      return candidate.starts_with("number ") && std::strtod(candidate.c_str() + 7, nullptr) == expected;
    });
  }
  values.erase("text");
  for (const auto& [name, left] : values)
    invariant(left.empty(), "no value is in the document that nobody printed", bytes);
}

std::string without_padding(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t");
  return first == text.npos ? "" : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

void check_xml(const std::string& bytes, const std::vector<OutputCall>& calls) {
  Values values = values_of_xml(bytes);
  std::string lines;
  for (const std::string& line : values["text"])
    lines += line + "\n";
  values.erase("text");
  Values expected;
  std::size_t at = 0;  // in the lines: plain values come in their order
  for (const OutputCall& call : calls) {
    for (const PrintedValue& value : call.values) {
      if (value.is_tagged) {
        expected[element_of(value.tag)].push_back(in_document(value.bare));
        continue;
      }
      // A line end in a text begins a new line, and blank lines vanish: only what is one line is looked for.
      const std::string text = without_padding(in_document(value.printed));
      if (text.empty() || text.find_first_of("\r\n") != text.npos) continue;
      const std::size_t found = lines.find(text, at);
      invariant(found != lines.npos, "a value without a tag is in a line of text", bytes);
      at = found + text.size();
    }
  }
  invariant(values == expected, "every value is under its tag, in its order", bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  const std::vector<OutputCall> calls = any_calls(bytes);
  invariant(written(Format::text, calls) == as_text(calls), "text is what printf prints");
  check_xml(written(Format::xml, calls), calls);
  check_json(written(Format::json, calls), calls);
  return 0;
}
