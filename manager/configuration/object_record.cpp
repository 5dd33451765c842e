#include "manager/configuration/object_record.h"

#include "encoding/json_writer.h"
#include "manager/model/class_map_record.h"
#include "manager/model/object_kind.h"
#include "manager/model/parameter_map_record.h"
#include "manager/model/policy_record.h"
#include "manager/model/rule_record.h"
#include "manager/model/ssl_proxy_record.h"

namespace kvel::manager {
namespace {

using encoding::JsonWriter;

// A page of parts under way.
class PartsWriter {
 public:
  explicit PartsWriter(std::string& out) : out_(out), start_(out.size()), json_(out) { json_.begin_array(); }

  // False: the part belongs on the next page.
  template <class Part>
  bool add(std::uint64_t place, std::uint64_t line, const Part& part) {
    const std::size_t before = out_.size();
    json_.begin_object();
    json_.number("line", line);
    write_members(json_, part);
    json_.end_object();
    page_.is_last = page_.last == 0 || out_.size() - start_ < kMaxPartsBytes;
    if (page_.is_last) {
      page_.last = place;
    } else {
      out_.resize(before);
    }
    return page_.is_last;
  }
  PartsPage finish() {
    json_.end_array();
    return page_;
  }

 private:
  std::string& out_;
  std::size_t start_;
  JsonWriter json_;
  PartsPage page_;
};

struct Parts {
  std::string_view name;  // as a member of the record
  std::size_t count = 0;
};
Parts parts_of(const ParameterMap& /*parameter_map*/) { return {}; }
Parts parts_of(const SslProxy& /*service*/) { return {}; }
Parts parts_of(const ClassMap& class_map) { return {"rules", class_map.rules.size()}; }
Parts parts_of(const PolicyMap& policy_map) {
  const ClassList& classes = policy_map.classes;
  return {"classes", classes.size() + (classes.class_default()->content.actions.empty() ? 0 : 1)};
}

template <class Object>
void write_parts(JsonWriter& json, std::string& out, const Object& object) {
  const auto [name, count] = parts_of(object);
  if (count == 0) return;
  std::string parts;
  const bool is_whole = append_parts(parts, object, 0).is_last;
  json.name(name);
  if (is_whole) {
    out += parts;
  } else {
    json.number(count);
  }
}

template <class Object>
void append(std::string& out, ObjectKind kind, std::string_view name, const Object& object) {
  JsonWriter json(out);
  json.begin_object();
  json.text("kind", kind_name(kind));
  json.text("name", name);
  write_members(json, *object.settings);
  write_parts(json, out, object);
  json.end_object();
}

}  // namespace

void append_record(std::string& out, std::string_view name, const ClassMap& class_map) {
  append(out, ObjectKind::class_map, name, class_map);
}
void append_record(std::string& out, std::string_view name, const PolicyMap& policy_map) {
  append(out, ObjectKind::policy_map, name, policy_map);
}
void append_record(std::string& out, std::string_view name, const ParameterMap& parameter_map) {
  append(out, ObjectKind::parameter_map, name, parameter_map);
}
void append_record(std::string& out, std::string_view name, const SslProxy& service) {
  append(out, ObjectKind::ssl_proxy, name, service);
}

PartsPage append_parts(std::string& out, const ClassMap& class_map, std::uint64_t after) {
  PartsWriter page(out);
  if (after > RuleTable::kMaxLine) return page.finish();
  const auto& by_line = class_map.rules.by_line();
  for (auto rule = by_line.upper_bound(static_cast<std::uint32_t>(after)); rule != by_line.end(); ++rule) {
    if (!page.add(rule.key(), rule.key(), *rule.value())) break;
  }
  return page.finish();
}

PartsPage append_parts(std::string& out, const PolicyMap& policy_map, std::uint64_t after) {
  PartsWriter page(out);
  std::uint64_t line = 0;
  for (const auto& [position, entry] : policy_map.classes) {
    line += policy_map.settings->interval;
    if (position > after && !page.add(position, line, entry->content)) return page.finish();
  }
  line += policy_map.settings->interval;
  const PolicyClass& class_default = *policy_map.classes.class_default();
  if (!class_default.content.actions.empty() && class_default.position > after) {
    page.add(class_default.position, line, class_default.content);
  }
  return page.finish();
}

PartsPage append_parts(std::string& out, const ParameterMap& /*parameter_map*/, std::uint64_t /*after*/) {
  return PartsWriter(out).finish();
}
PartsPage append_parts(std::string& out, const SslProxy& /*service*/, std::uint64_t /*after*/) {
  return PartsWriter(out).finish();
}

}  // namespace kvel::manager
