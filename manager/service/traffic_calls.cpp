// The calls that count traffic, and explain what happens to it.
#include <string>
#include <utility>
#include <vector>

#include "encoding/json_writer.h"
#include "manager/service/calls.h"
#include "manager/traffic/explanation.h"
#include "manager/traffic/flow_reader.h"

namespace kvel::manager {
namespace {

constexpr std::size_t kMaxFaults = 100;  // reported in one answer

struct Fault {
  std::uint64_t line;
  std::string text;
};

// What the lines of one call hold. Nothing is counted before all of them are decided.
struct Batch {
  std::uint64_t flows = 0;
  std::uint64_t refused = 0;
  std::vector<Decision> classified;
  std::vector<Fault> faults;
};

void add_line(Batch& batch, Classifier& classifier, std::uint64_t number, std::string_view line) {
  if (is_blank(line)) return;
  ++batch.flows;
  auto flow = read_flow(line);
  if (!flow) {
    if (++batch.refused <= kMaxFaults) batch.faults.push_back({number, std::move(flow).error()});
    return;
  }
  if (const auto decision = classifier.decide(*flow)) batch.classified.push_back(*decision);
}

std::string answer_of(const Batch& batch) {
  std::string answer;
  encoding::JsonWriter json(answer);
  json.begin_object();
  json.number("flows", batch.flows);
  json.number("classified", batch.classified.size());
  json.number("unclassified", batch.flows - batch.refused - batch.classified.size());
  json.number("refused", batch.refused);
  json.begin_array("faults");
  for (const Fault& fault : batch.faults) {
    json.begin_object();
    json.number("line", fault.line);
    json.text("fault", fault.text);
    json.end_object();
  }
  json.end_array();
  json.end_object();
  return answer;
}

}  // namespace

Status Calls::count_flows(std::uint16_t context_number, std::uint32_t first_line, std::string_view lines,
                          rpc::ResponseBuffer& response) {
  Classifier& classifier = classifiers_.at(running_, context_number, statistics_);
  Batch batch;
  for (std::uint64_t number = first_line; !lines.empty(); ++number) {
    const std::size_t end = lines.find('\n');
    add_line(batch, classifier, number, lines.substr(0, end));
    lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
  }
  response.append(answer_of(batch));
  for (const Decision& decision : batch.classified)
    Classifier::count(decision);
  return Status::ok;
}

Status Calls::explain_flow(std::uint16_t context_number, std::string_view flow, rpc::ResponseBuffer& response) {
  std::string answer;
  if (const auto read = read_flow(flow)) {
    answer = explain(classifiers_.at(running_, context_number, statistics_), *read);
  } else {
    encoding::JsonWriter json(answer);
    json.begin_object();
    json.text("fault", read.error());
    json.end_object();
  }
  response.append(answer);
  return Status::ok;
}

}  // namespace kvel::manager
