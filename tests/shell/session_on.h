// A session with the real plug-in on a service of the test's own.
#pragma once

#include <string>
#include <string_view>

#include "rpc/client/client.h"
#include "rpc/client/embedded_channel.h"
#include "shell/grammar/grammar.h"
#include "shell/plugin/plugin.h"
#include "shell/session/call_watch.h"
#include "shell/session/session.h"
#include "tests/shell/stdout_capture.h"

namespace kvel::shell::test {

// What one line came to.
struct Executed {
  Outcome outcome = Outcome::done;
  std::string out;
  std::string err;
  std::string error_message;
};

class SessionOn {
 public:
  explicit SessionOn(rpc::Service& service) : channel_(service) { session_.watch_calls(calls_); }

  Executed execute(std::string_view line) {
    kvel::test::OutputCapture out(stdout);
    kvel::test::OutputCapture err(stderr);
    const Execution execution = session_.execute(line);
    std::string printed = out.take();
    return {execution.outcome, std::move(printed), err.take(), execution.error_message};
  }

  Session& session() { return session_; }

 private:
  rpc::EmbeddedChannel channel_;
  CallWatch calls_{channel_};
  rpc::InstalledChannel installed_{calls_};
  Plugin plugin_ = *Plugin::load(KVEL_PLUGIN, shell_grammar().handlers(), shell_grammar().hooks());
  Session session_{shell_grammar(), plugin_, 3, 77};
};

}  // namespace kvel::shell::test
