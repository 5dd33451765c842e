// The calls that count traffic, and explain what happens to it.
#include <fmt/format.h>

#include <iterator>
#include <string>
#include <vector>

#include "manager/model/json_text.h"
#include "manager/service/calls.h"
#include "manager/traffic/explanation.h"
#include "manager/traffic/flow_reader.h"

namespace kvel::manager {
namespace {

constexpr std::size_t kMaxFaults = 100;  // told in one answer

// What the lines of one call hold. Nothing is counted before all of them are decided.
struct Batch {
  std::uint64_t flows = 0;
  std::uint64_t refused = 0;
  std::vector<Decision> classified;
  std::string faults;  // members of a JSON array
};

void add_fault(Batch& batch, std::uint64_t line, std::string_view fault) {
  if (++batch.refused > kMaxFaults) return;
  fmt::format_to(std::back_inserter(batch.faults), R"({}{{"line":{},"fault":)", batch.refused == 1 ? "" : ",", line);
  append_json_string(batch.faults, fault);
  batch.faults += '}';
}

void add_line(Batch& batch, Classifier& classifier, std::uint64_t number, std::string_view line) {
  if (is_blank(line)) return;
  ++batch.flows;
  const auto flow = read_flow(line);
  if (!flow) return add_fault(batch, number, flow.error());
  if (const auto decision = classifier.decide(*flow)) batch.classified.push_back(*decision);
}

}  // namespace

Status Calls::count_flows(std::uint16_t context_number, std::uint32_t first_line, std::string_view lines,
                          rpc::ResponseBuffer& response) {
  Classifier& classifier = classifiers_.at(configuration_, context_number);
  Batch batch;
  for (std::uint64_t number = first_line; !lines.empty(); ++number) {
    const std::size_t end = lines.find('\n');
    add_line(batch, classifier, number, lines.substr(0, end));
    lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
  }
  const std::uint64_t unclassified = batch.flows - batch.refused - batch.classified.size();
  response.append(fmt::format(R"({{"flows":{},"classified":{},"unclassified":{},"refused":{},"faults":[{}]}})",
                              batch.flows, batch.classified.size(), unclassified, batch.refused, batch.faults));
  for (const Decision& decision : batch.classified)
    Classifier::count(decision);
  return Status::ok;
}

Status Calls::explain_flow(std::uint16_t context_number, std::string_view flow, rpc::ResponseBuffer& response) {
  std::string answer;
  if (const auto read = read_flow(flow)) {
    answer = explain(classifiers_.at(configuration_, context_number), *read);
  } else {
    answer = R"({"fault":)";
    append_json_string(answer, read.error());
    answer += '}';
  }
  response.append(answer);
  return Status::ok;
}

}  // namespace kvel::manager
