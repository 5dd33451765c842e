// Random sequences of calls: always one document, with every value in its place.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "kvel/output.h"
#include "tests/output/support.h"

namespace kvel::output::testing::property_test {
namespace {

enum class Call : std::uint8_t { header, footer, value, number, line, piece };

struct Step {
  Call call = Call::header;
  std::string tag;
  std::string text;
};

void perform(const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    switch (step.call) {
      case Call::header:
        xprint_header(step.tag.c_str());
        break;
      case Call::footer:
        xprint_footer(step.tag.c_str());
        break;
      case Call::value:
        xprint("  label: <%-5s>\n", step.tag.c_str(), step.text.c_str());
        break;
      case Call::number:
        xprint("<%zu>", step.tag.c_str(), step.text.size());
        break;
      case Call::line:
        xprint("  %s\n", step.text.c_str());
        break;
      case Call::piece:
        xprint("%s ", step.text.c_str());
        break;
    }
  }
}

rc::Gen<Call> any_call() {
  return rc::gen::weightedElement<Call>(
      {{4, Call::header}, {4, Call::footer}, {3, Call::value}, {1, Call::number}, {1, Call::line}, {1, Call::piece}});
}

// Steps over few tags, so that headers and footers meet.
rc::Gen<std::vector<Step>> steps(rc::Gen<std::string> tag, rc::Gen<std::string> text) {
  return rc::gen::container<std::vector<Step>>(rc::gen::build<Step>(rc::gen::set(&Step::call, any_call()),
                                                                    rc::gen::set(&Step::tag, std::move(tag)),
                                                                    rc::gen::set(&Step::text, std::move(text))));
}

// Bytes of every kind, the nasty ones often.
rc::Gen<std::string> any_bytes() {
  return rc::gen::join(rc::gen::element(rc::gen::container<std::string>(rc::gen::nonZero<char>()),
                                        rc::gen::container<std::string>(rc::gen::element(
                                            '<', '>', '&', '"', '\'', '\\', ']', '\n', '\r', '\t', ' ', '\x01', '\x7f',
                                            '\x80', '\xBF', '\xC3', '\xE2', '\xED', '\xEF', '\xF0', '\xFF'))));
}

void expect_properties(const std::vector<Step>& any) {
  RC_ASSERT(parse_xml(written(Format::xml, [&] { perform(any); })) != nullptr);
  RC_ASSERT(nlohmann::json::accept(written(Format::json, [&] { perform(any); })));
}

TEST(RandomDocuments, AnyBytesAndAnyTagsGiveOneDocument) {
  EXPECT_TRUE(rc::check([] { expect_properties(*steps(any_bytes(), any_bytes())); }));
}

TEST(RandomDocuments, FewTagsGiveOneDocument) {
  EXPECT_TRUE(rc::check([] {
    expect_properties(*steps(rc::gen::element<std::string>("a", "b", "c", "output", "text", ""), any_bytes()));
  }));
}

// A value and the elements around it, from the root on.
using Placed = std::pair<std::vector<std::string>, std::string>;

// Where the values belong: the rules of the document once more, in their plainest form.
std::vector<Placed> expected_values(const std::vector<Step>& steps) {
  std::vector<Placed> placed;
  std::string root;
  std::vector<std::string> open;  // below the root
  bool root_ended = false;
  for (const Step& step : steps) {
    if (step.call == Call::header) {
      if (root.empty()) {
        root = step.tag;
      } else {
        open.push_back(step.tag);
      }
    } else if (step.call == Call::footer) {
      const auto found = std::find(open.rbegin(), open.rend(), step.tag);
      if (found != open.rend()) {
        open.erase(found.base() - 1, open.end());
      } else if (step.tag == root && !root_ended) {
        open.clear();
        root_ended = true;
      }
    } else {
      if (root.empty()) {
        root = "output";
        root_ended = true;  // no footer ends what no header opened
      }
      std::vector<std::string> path{root};
      path.insert(path.end(), open.begin(), open.end());
      path.push_back(step.tag);
      placed.emplace_back(path, step.text);
    }
  }
  return placed;
}

void collect(const xmlNode* element, std::vector<std::string> path, std::vector<Placed>& placed) {
  path.emplace_back(reinterpret_cast<const char*>(element->name));
  if (path.back() == "v") placed.emplace_back(path, content(element));
  for (xmlNode* child = element->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) collect(child, path, placed);
  }
}

void collect(const nlohmann::json& node, const std::vector<std::string>& path, std::vector<Placed>& placed) {
  if (node.is_array()) {
    for (const nlohmann::json& item : node)
      collect(item, path, placed);
  } else if (node.is_object()) {
    for (const auto& [name, member] : node.items()) {
      std::vector<std::string> longer = path;
      longer.push_back(name);
      collect(member, longer, placed);
    }
  } else {
    placed.emplace_back(path, node.get<std::string>());
  }
}

TEST(RandomDocuments, EveryValueIsInItsPlace) {
  EXPECT_TRUE(rc::check([] {
    std::vector<Step> all = *steps(rc::gen::element<std::string>("a", "b", "c", "output"),
                                   rc::gen::container<std::string>(rc::gen::inRange('!', '~')));
    for (Step& step : all) {
      if (step.call == Call::header || step.call == Call::footer) continue;
      step.call = Call::value;
      step.tag = "v";
    }
    std::vector<Placed> expected = expected_values(all);

    const XmlDocument document = parse_xml(written(Format::xml, [&] { perform(all); }));
    RC_ASSERT(document != nullptr);
    std::vector<Placed> in_xml;
    collect(xmlDocGetRootElement(document.get()), {}, in_xml);
    RC_ASSERT(in_xml == expected);

    // Arrays gather values of one name, so that only each path keeps its order.
    std::vector<Placed> in_json;
    collect(nlohmann::json::parse(written(Format::json, [&] { perform(all); })), {}, in_json);
    const auto by_path = [](const Placed& one, const Placed& other) { return one.first < other.first; };
    std::stable_sort(expected.begin(), expected.end(), by_path);
    std::stable_sort(in_json.begin(), in_json.end(), by_path);
    RC_ASSERT(in_json == expected);
  }));
}

}  // namespace
}  // namespace kvel::output::testing::property_test
