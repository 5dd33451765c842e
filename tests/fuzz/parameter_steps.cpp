#include "tests/fuzz/parameter_steps.h"

#include "tests/fuzz/invariant.h"
#include "tests/manager/support/parameter_client.h"

namespace kvel::fuzz {
namespace {

using manager::testing::Page;
using manager::testing::ParameterClient;

template <class Fetch>
std::vector<std::string> all_pages(Fetch fetch) {
  std::vector<std::string> names;
  Page page;
  do {
    page = fetch(page);
    invariant(succeeded(page.status) && page.response.size() % 65 == 0, "a list is pages of names");
    for (std::size_t at = 0; at < page.response.size(); at += 65)
      names.emplace_back(page.response.substr(at, 65).c_str());
  } while (page.status == Status::more_data);
  return names;
}

}  // namespace

Status run_parameter_step(rpc::Service& manager, const Step& step) {
  ParameterClient client(manager);
  const std::uint32_t add = step.add ? 1 : 0;
  switch (step.kind) {
    case Step::parameter_map:
      return client.create(step.name, step.type, add);
    case Step::service:
      return client.service(step.name, add);
    case Step::key:
      return client.set("key", step.name, step.other, add);
    default:
      return client.set("param_map", step.name, step.other, add);
  }
}

std::vector<std::string> parameter_map_names(rpc::Service& manager, std::uint32_t kind) {
  return all_pages([&](const Page& page) { return ParameterClient(manager).list(kind, page); });
}

std::vector<std::string> service_names(rpc::Service& manager) {
  return all_pages([&](const Page& page) { return ParameterClient(manager).list_services(page); });
}

}  // namespace kvel::fuzz
