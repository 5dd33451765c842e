// The backend calls for traffic.
#include "shell/traffic/flow_calls.h"

#include "kvel/rpc.h"
#include "kvel/status.h"
#include "shell/configuration/response.h"

namespace kvel::shell {

namespace {

CallFailure malformed() { return failure(KVEL_STATUS_transport); }

tl::expected<FlowCounts, CallFailure> read_counts(const ObjectRecord& answer) try {
  FlowCounts counts;
  counts.flows = answer.at("flows").get<std::uint64_t>();
  counts.classified = answer.at("classified").get<std::uint64_t>();
  counts.unclassified = answer.at("unclassified").get<std::uint64_t>();
  counts.refused = answer.at("refused").get<std::uint64_t>();
  for (const ObjectRecord& fault : answer.at("faults"))
    counts.faults.push_back({fault.at("line").get<std::uint64_t>(), fault.at("fault").get<std::string>()});
  return counts;
} catch (const nlohmann::json::exception&) {
  return tl::unexpected(malformed());
}

}  // namespace

tl::expected<FlowCounts, CallFailure> count_flows(int context, std::uint64_t first_line, const std::string& lines) {
  Response response;
  const std::int32_t status = tnrpc_call("kvel_count_flows", 4, TNRPC_ARG_U16, context & 0xFFFF, TNRPC_ARG_U32,
                                         static_cast<std::uint32_t>(first_line), TNRPC_ARG_STRING, lines.c_str(),
                                         TNRPC_ARG_RESPONSE, response.holder());
  if (!succeeded(status)) return tl::unexpected(failure(status));
  return read_counts(response.json());
}

tl::expected<ObjectRecord, CallFailure> explain_flow(int context, const std::string& flow) {
  Response response;
  const std::int32_t status = tnrpc_call("kvel_explain_flow", 3, TNRPC_ARG_U16, context & 0xFFFF, TNRPC_ARG_STRING,
                                         flow.c_str(), TNRPC_ARG_RESPONSE, response.holder());
  if (!succeeded(status)) return tl::unexpected(failure(status));
  ObjectRecord answer = response.json();
  if (!answer.is_object()) return tl::unexpected(malformed());
  return answer;
}

}  // namespace kvel::shell
