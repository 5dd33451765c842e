// A manager that answers literal records, for tests of what the shell makes of them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kvel/host.h"
#include "kvel/status.h"
#include "output/output.h"
#include "rpc/calls/call_table.h"
#include "rpc/client/client.h"
#include "rpc/client/embedded_channel.h"
#include "shell/configuration/objects.h"
#include "tests/shell/stdout_capture.h"

namespace kvel::shell::test {

// Answers its records one to a page.
class RecordService : public rpc::Service {
 public:
  explicit RecordService(std::vector<std::string> records) : records_(std::move(records)) {}

  Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    const std::string_view name = rpc::kCalls[call].name;
    if (name == "kvel_get_object") {
      const Kind& kind = kind_of(static_cast<std::uint32_t>(arguments[1].number));
      const std::string wanted =
          R"({"kind":")" + std::string(kind.name) + R"(","name":")" + std::string(arguments[2].text) + '"';
      for (const std::string& record : records_) {
        if (record.find(wanted) == std::string::npos) continue;
        arguments[3].response->append(record);
        return Status::ok;
      }
      return static_cast<Status>(kind.not_found);
    }
    if (name == "kvel_enter_object") {
      const std::string wanted = R"("name":")" + std::string(arguments[3].text) + '"';
      const bool found = std::any_of(records_.begin(), records_.end(), [&](const std::string& record) {
        return record.find(wanted) != std::string::npos;
      });
      return found ? Status::ok : Status::unknown_call;
    }
    if (name != "kvel_get_objects") return Status::unknown_call;
    auto& next = arguments[2].bytes[0];
    const auto index = static_cast<std::size_t>(next);
    arguments[4].response->append("[" + (index < records_.size() ? records_[index] : std::string()) + "]");
    next = static_cast<std::byte>(index + 1);
    arguments[3].bytes[3] = static_cast<std::byte>(index + 1 < records_.size() ? 1 : 0);
    return Status::ok;
  }

 private:
  struct Kind {
    std::uint32_t number;
    std::string_view name;
    std::uint32_t not_found;
  };

  static const Kind& kind_of(std::uint32_t number) {
    static constexpr std::array kKinds{
        Kind{KVEL_DOMAIN_CLASS_MAP, "class-map", KVEL_STATUS_class_map_not_found},
        Kind{KVEL_DOMAIN_POLICY_MAP, "policy-map", KVEL_STATUS_policy_map_not_found},
        Kind{KVEL_DOMAIN_PARAMETER_MAP, "parameter-map", KVEL_STATUS_parameter_map_not_found},
        Kind{KVEL_DOMAIN_SSL_PROXY, "ssl-proxy", KVEL_STATUS_ssl_proxy_not_found}};
    return *std::find_if(kKinds.begin(), kKinds.end(), [number](const Kind& kind) { return kind.number == number; });
  }

  std::vector<std::string> records_;
};

// What is printed, and the failure in brackets after it.
template <class Show>
std::string printed(std::vector<std::string> records, output::Format format, Show show) {
  RecordService service(std::move(records));
  rpc::EmbeddedChannel channel(service);
  const rpc::InstalledChannel installed(channel);
  kvel::test::StdoutCapture capture;
  output::begin(format, stdout);
  const tl::expected<void, CallFailure> shown = show();
  EXPECT_TRUE(output::finish());
  std::string text = capture.take();
  return shown ? text : text + "[" + shown.error().text + "]";
}

}  // namespace kvel::shell::test
