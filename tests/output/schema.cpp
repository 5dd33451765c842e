#include "tests/output/schema.h"

#include <libxml/xmlschemas.h>

#include <cstdarg>
#include <memory>

#include "tests/output/support.h"

namespace kvel::output::testing {

namespace {

using Schema = std::unique_ptr<xmlSchema, decltype(&xmlSchemaFree)>;

void add_fault(void* faults, const char* format, ...) {
  char text[1024];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  static_cast<std::string*>(faults)->append(text);
}

const Schema& schema() {
  static const Schema only = [] {
    std::string faults;
    const std::unique_ptr<xmlSchemaParserCtxt, decltype(&xmlSchemaFreeParserCtxt)> context(
        xmlSchemaNewParserCtxt(KVEL_ROOT "/docs/service-policy.xsd"), &xmlSchemaFreeParserCtxt);
    xmlSchemaSetParserErrors(context.get(), add_fault, add_fault, &faults);
    Schema parsed(xmlSchemaParse(context.get()), &xmlSchemaFree);
    EXPECT_EQ(faults, "");
    return parsed;
  }();
  return only;
}

}  // namespace

std::string schema_faults(const std::string& xml) {
  const XmlDocument document = parse_xml(xml);
  if (document == nullptr) return "not well-formed";
  std::string faults;
  const std::unique_ptr<xmlSchemaValidCtxt, decltype(&xmlSchemaFreeValidCtxt)> context(
      xmlSchemaNewValidCtxt(schema().get()), &xmlSchemaFreeValidCtxt);
  xmlSchemaSetValidErrors(context.get(), add_fault, add_fault, &faults);
  if (xmlSchemaValidateDoc(context.get(), document.get()) != 0 && faults.empty()) faults = "not valid";
  return faults;
}

}  // namespace kvel::output::testing
