// Executing command lines.
#include "shell/session/session.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <variant>

#include "kvel/host.h"
#include "kvel/keywords.h"
#include "kvel/status.h"
#include "output/output.h"
#include "shell/configuration/kept_fields.h"
#include "shell/configuration/match_mode.h"
#include "shell/configuration/object_kinds.h"
#include "shell/configuration/object_mode.h"
#include "shell/configuration/object_users.h"
#include "shell/configuration/response.h"
#include "shell/configuration/running_config.h"
#include "shell/configuration/service_policy.h"
#include "shell/configuration/show_class_map.h"
#include "shell/configuration/show_parameter_map.h"
#include "shell/configuration/show_policy_map.h"
#include "shell/configuration/show_ssl_proxy.h"
#include "shell/configuration/show_uses.h"
#include "shell/configuration/show_version.h"
#include "shell/grammar/shell_commands.h"
#include "shell/matcher/mismatch.h"
#include "shell/session/filtered_command.h"
#include "shell/session/output_filter.h"
#include "shell/session/stdout_capture.h"
#include "shell/traffic/explanation.h"
#include "shell/traffic/traffic.h"

namespace kvel::shell {

namespace {

Execution reported(const tl::expected<void, CallFailure>& result) {
  if (result) return {};
  Execution execution = Execution::failed(fmt::format("Error: {}\n", result.error().text));
  execution.printed_in_part = result.error().is_partial;
  return execution;
}

// The name that a show command asks for; empty when it asks for all.
std::string shown_name(const Match& match) {
  if (match.tokens.size() == match.carried_count) return {};
  return std::get<std::string>(match.tokens.back().value);
}

// A value that was typed; nothing when the line has none of that keyword.
template <class Value>
std::optional<Value> typed(const Match& match, KeywordId keyword) {
  for (const Token& token : std::span(match.tokens).subspan(match.carried_count)) {
    if (token.keyword == keyword) return std::get<Value>(token.value);
  }
  return std::nullopt;
}

ShownConfig shown_config(const Match& match) {
  struct Kind {
    KeywordId word;
    std::uint32_t kind;
  };
  constexpr std::array kKinds{Kind{command::kShownClassMaps, KVEL_DOMAIN_CLASS_MAP},
                              Kind{command::kShownPolicyMaps, KVEL_DOMAIN_POLICY_MAP},
                              Kind{command::kShownParameterMaps, KVEL_DOMAIN_PARAMETER_MAP},
                              Kind{command::kShownSslProxies, KVEL_DOMAIN_SSL_PROXY}};
  ShownConfig shown;
  for (const Kind& row : kKinds) {
    if (typed<std::monostate>(match, row.word)) shown.kind = row.kind;
  }
  shown.name = typed<std::string>(match, command::kShownName).value_or("");
  return shown;
}

// A parsed command record over the tokens of a match, which must outlive it.
class CommandRecord {
 public:
  CommandRecord(const Match& match, int context, std::uint32_t session_id) {
    command_.token_count = static_cast<std::uint8_t>(match.tokens.size());
    command_.negated = match.negated ? 1 : 0;
    command_.command_id = match.command->command_id;
    command_.context_id = static_cast<std::int16_t>(context);
    command_.session_id = session_id;
    for (std::size_t index = 0; index < match.tokens.size(); ++index) {
      const Token& token = match.tokens[index];
      tokens_[index].keyword_id = token.keyword;
      if (const auto* text = std::get_if<std::string>(&token.value)) tokens_[index].text = text->c_str();
      if (const auto* number = std::get_if<std::uint32_t>(&token.value)) tokens_[index].text = number;
      command_.tokens[index] = &tokens_[index];
    }
  }
  CommandRecord(const CommandRecord&) = delete;
  CommandRecord& operator=(const CommandRecord&) = delete;
  ~CommandRecord() = default;

  [[nodiscard]] const CliCommand* get() const { return &command_; }

 private:
  std::array<CliToken, KVEL_MAX_TOKENS> tokens_{};
  CliCommand command_{};
};

constexpr const char* kHelp =
    "Type a command; any word may be shortened as long as it stays unambiguous.\n"
    "  ?     lists what may be typed next, with a line of help for each\n"
    "  tab   completes the word, the names of existing objects included\n"
    "  no    in front of a command undoes the command\n"
    "  exit  leaves the mode that a command has entered; the commands of the outer\n"
    "        modes may also be typed without it\n"
    "  quit  leaves the shell\n"
    "Names and texts with blanks are written in double quotes. A line that begins\n"
    "with ! or # is a comment. Output of show commands can be printed as a document,\n"
    "searched, counted and saved, and these can be combined:\n"
    "  show running-config | xml                    or | json\n"
    "  show running-config | include web | count    also | exclude TEXT, | begin TEXT\n"
    "  show running-config | save FILE              also after the others\n";

constexpr const char* kPassedOver = "Error: passed over, since it is indented below a line that failed\n";

bool is_top_command_of(const Grammar& grammar, const LexedLine& words) {
  if (const auto split = split_filters(words); split && is_top_command(grammar, lex(split->command))) return true;
  return is_top_command(grammar, words);
}

// Handlers print results and errors alike to standard output, which has results only.
Execution run_handler(const std::function<bool()>& handler) {
  StdoutCapture capture;
  const bool succeeded = handler();
  auto printed = capture.take();
  if (!printed && capture.error() == 0) return Execution::failed(kNotWritten);
  if (!printed) return succeeded ? Execution{} : Execution::failed({});  // what it printed was not held back
  if (!succeeded) return Execution::failed(*std::move(printed));
  std::fwrite(printed->data(), 1, printed->size(), stdout);
  return {};
}

// The words of the line itself.
std::span<const Token> own_tokens(const Match& match) { return std::span(match.tokens).subspan(match.carried_count); }

// What a line gives, and what it leaves as it is, in the call of its handler.
CallIntent intent_of(const Grammar& grammar, const Match& match) {
  if (!match.opens) return {false, false, kept_fields(own_tokens(match))};
  return {true, is_object_only_named(grammar.mode(match.opens->mode).name, own_tokens(match)), 0};
}

}  // namespace

Session::Session(const Grammar& grammar, Plugin& plugin, int context, std::uint32_t session_id)
    : grammar_(grammar), plugin_(plugin), context_(context), session_id_(session_id) {}

std::string Session::prompt() const {
  if (modes_.size() == 1) return "kvel# ";
  const ModeLevel& level = modes_.back();
  std::string prompt = "kvel(" + std::string(grammar_.mode(level.mode).prompt);
  for (const std::string& name : level.names)
    prompt += " " + name;
  return prompt + ")# ";
}

std::vector<std::string> Session::object_names(std::string_view hook, std::string_view partial) const {
  std::vector<std::string> names = plugin_.complete(hook, context_);
  std::erase_if(names, [&](const std::string& name) { return !name.starts_with(partial); });
  return names;
}

Execution Session::execute(std::string_view line) {
  const LexedLine words = lex(line);
  if (words.blank()) return {Outcome::nothing, {}, {}, false};
  const std::size_t indentation = indentation_of(line);
  if (failed_block_.covers(indentation, [&] { return is_top_command_of(grammar_, words); })) {
    return {Outcome::passed_over, kPassedOver, {}, false};
  }
  if (calls_ != nullptr) calls_->begin();
  indentation_ = indentation;
  Purpose purpose;
  Execution execution = execute_words(words, purpose);
  if (execution.outcome != Outcome::failed) return execution;
  leave_what_failed(indentation, purpose);
  return execution;
}

// `purpose` is what the line was meant for, should it fail.
Execution Session::execute_words(const LexedLine& words, Purpose& purpose) {
  const auto execute = [&](const Match& match) {
    purpose = {match.opens.has_value(), match.level};
    Execution execution = execute_match(match);
    if (execution.left_level) purpose = {true, *execution.left_level - 1};
    if (execution.outcome == Outcome::failed) explain_failure(execution, match);
    return execution;
  };
  // A line may end in output filters where its command allows them; elsewhere "|" is a word like any other.
  if (const auto split = split_filters(words)) {
    const auto matched = match(grammar_, modes_, split->command);
    if (matched && matched->command->filterable) {
      purpose = {false, matched->level};
      const auto filters = parse_filters(*split);
      if (!filters) return Execution::failed(filters.error(), words.line);
      return run_filtered(*filters, pages_output_, [&] { return execute(*matched); });
    }
  }
  const auto matched = match(grammar_, modes_, words);
  if (!matched) {
    purpose = purpose_of(grammar_, modes_, words);
    return Execution::failed(matched.error(), words.line);
  }
  // What goes to a terminal is held, so that it is shown by pages and as a terminal may be shown it. So is what the
  // shell shows itself, since it may fail when a part of that is printed; what a handler prints is held in any case.
  const bool shows = matched->command->filterable;
  const bool is_handler = !matched->command->handler.empty();
  const bool paged = pages_output_ && shows;
  if (paged || (shows && !is_handler) || (is_handler && isatty(STDOUT_FILENO) != 0)) {
    return run_filtered({}, paged, [&] { return execute(*matched); });
  }
  return execute(*matched);
}

// The lines below a failed one must not change the object whose mode is still open from before.
void Session::leave_what_failed(std::size_t indentation, const Purpose& purpose) {
  // At a prompt the operator sees the mode, and corrects the line.
  const bool replayed = source_ != CommandSource::prompt;
  if (purpose.level && (purpose.may_open || replayed)) {
    modes_.resize(std::min(modes_.size(), *purpose.level + 1));
  } else if (replayed) {
    while (modes_.size() > 1 && indentations_[modes_.size() - 1] >= indentation)
      modes_.pop_back();
  }
  const bool is_indented = modes_.size() > 1 && indentations_[modes_.size() - 1] < indentation;
  failed_block_.begin(indentation, replayed && purpose.may_open && !is_indented);
}

// A lost manager is told in one way, and what a handler says of it comes after that. Of other failures the shell adds
// what the handler cannot know.
void Session::explain_failure(Execution& execution, const Match& match) const {
  if (calls_ == nullptr || calls_->failure() == Status::ok) return;
  const Status status = calls_->failure();
  std::string plain(kErrorPrefix);
  plain.append(status_text(status)).append("\n");
  if (calls_->manager_is_lost()) {
    execution.manager_is_lost = true;
    std::string_view rest = execution.error_message;
    if (rest.starts_with(plain)) {
      rest.remove_prefix(plain.size());
    } else if (rest.find(status_text(status)) != std::string_view::npos) {
      return;  // told, with more than that
    }
    if (const auto why = calls_->last_failure(); !why.empty()) plain.insert(plain.size() - 1, fmt::format(": {}", why));
    execution.error_message = plain.append(rest);
    return;
  }
  execution.error_message +=
      details_of(status, context_, std::span(match.tokens).subspan(match.carried_count), execution.error_message);
}

Execution Session::execute_match(const Match& match) try {
  // A command of a mode further out leaves the inner ones, also when it fails: what follows it in a file was not meant
  // for them.
  modes_.resize(match.level + 1);
  if (!match.command->text_handler.empty() && output::format() == output::Format::text) {
    return call_handler(match, match.command->text_handler);
  }
  if (match.command->handler.empty()) return run_own_command(match);
  Execution execution = call_handler(match, match.command->handler);
  if (execution.outcome == Outcome::done && match.opens) {
    indentations_.resize(modes_.size());
    identities_.resize(modes_.size());
    indentations_.push_back(indentation_);
    identities_.push_back(entered_identity(*match.opens));
    modes_.push_back(*match.opens);
  }
  return execution;
} catch (const nlohmann::json::exception&) {  // a record that is none of ours: another manager than ours
  return reported(tl::unexpected(failure(KVEL_STATUS_transport)));
} catch (const std::out_of_range&) {  // or one of a type that the shell does not know
  return reported(tl::unexpected(failure(KVEL_STATUS_transport)));
}

Execution Session::call_handler(const Match& match, std::string_view symbol) {
  if (match.command->fresh_module) {
    if (auto reloaded = plugin_.reload(); !reloaded) return Execution::failed("Error: " + reloaded.error() + "\n");
  }
  KvelHandler* handler = plugin_.handler(symbol);
  if (handler == nullptr) return Execution::failed(fmt::format("Error: the plug-in has no {}\n", symbol));
  if (auto refused = refuse_other_object(match)) return *std::move(refused);
  if (calls_ != nullptr) calls_->begin(intent_of(grammar_, match));
  const CommandRecord command(match, context_, session_id_);
  Execution execution = run_handler([&] { return handler(command.get()) == 0; });
  if (execution.outcome == Outcome::done && match.opens && calls_ != nullptr && calls_->entered()) {
    execution.warning = match_mode_change(grammar_.mode(match.opens->mode).name, own_tokens(match),
                                          calls_->entered()->matched_all, calls_->entered()->rules);
  }
  return execution;
}

// What the manager knows the object by whose mode was just entered, and the class or match in it.
std::optional<ObjectIdentity> Session::entered_identity(const ModeLevel& entered) const {
  if (modes_.size() == 1) {
    if (calls_ == nullptr || !calls_->entered()) return std::nullopt;
    return calls_->entered()->identity;
  }
  std::optional<ObjectIdentity> identity = identities_[modes_.size() - 1];
  const auto kind = kind_of_mode(grammar_.mode(modes_[1].mode).name);
  if (!identity || !kind || entered.names.size() < 2) return std::nullopt;
  const auto present = identify_object(context_, *kind, entered.names.front(), entered.names.back());
  if (!present) return std::nullopt;
  identity->entry = present->entry;
  return identity;
}

// Another client may have deleted the object of a mode, and made another one by its name: a command of that mode was
// not meant for it.
std::optional<Execution> Session::refuse_other_object(const Match& match) {
  if (match.level == 0 || match.command->in_every_mode()) return std::nullopt;
  std::optional<ObjectIdentity>& entered = identities_[match.level];
  const auto kind = kind_of_mode(grammar_.mode(modes_[1].mode).name);
  if (!entered || entered->process == 0 || !kind) return std::nullopt;
  const std::vector<std::string>& names = modes_[match.level].names;
  const auto present = identify_object(context_, *kind, names.front(), match.level > 1 ? names.back() : std::string());
  if (present && may_be_same(*entered, *present)) {
    entered = *present;
    return std::nullopt;
  }
  const auto status = present ? Status::ok : static_cast<Status>(present.error().status);
  if (status == Status::unknown_call) return std::nullopt;
  const std::string object = fmt::format("{} '{}'", object_kind(*kind).name, names.front());
  const auto refuse = [](std::size_t level, std::string_view what) {
    Execution execution = Execution::failed(fmt::format("Error: {}\n", what));
    execution.left_level = level;
    return execution;
  };
  const auto refused = [&]() -> Execution {
    if (status == object_kind(*kind).not_found) return refuse(1, object + " was deleted; its mode is left");
    if (status == Status::class_not_in_policy) {
      return refuse(match.level, fmt::format("'{}' was taken out of {}; its mode is left", names.back(), object));
    }
    if (!present) return reported(tl::unexpected(present.error()));
    if (entered->process == present->process && entered->made == present->made) {
      return refuse(match.level,
                    fmt::format("'{}' was taken out of {} and put in again; its mode is left, enter it again "
                                "to change the new one",
                                names.back(), object));
    }
    return refuse(1, object + " was deleted and made anew; its mode is left, enter it again to change the new one");
  }();
  if (refused.left_level && calls_ != nullptr) calls_->begin();  // the answer was no failure of a call
  return refused;
}

Execution Session::run_own_command(const Match& match) {
  const std::string_view id = match.command->shell_command;
  if (id == command::kQuit || (id == command::kExit && modes_.size() == 1)) return {Outcome::quit, {}, {}, false};
  if (id == command::kExit) {
    modes_.pop_back();
  } else if (id == command::kEnd) {
    leave_modes();
  } else if (id == command::kHelp) {
    std::fputs(kHelp, stdout);
  } else if (id == command::kHistory) {
    for (std::size_t index = 0; index < history_.size(); ++index) {
      output::text(fmt::format("{:5}  {}", index + 1, history_[index]));
    }
  } else if (id == command::kShowRunningConfig) {
    return reported(show_running_config(grammar_, context_, shown_config(match)));
  } else if (id == command::kShowUses) {
    return reported(show_uses(grammar_, context_, *typed<std::string>(match, command::kUsedName)));
  } else if (id == command::kShowVersion) {
    show_version();
  } else if (id == command::kShowClassMap) {
    return reported(show_class_map(grammar_, context_, shown_name(match)));
  } else if (id == command::kShowPolicyMap) {
    return reported(show_policy_map(grammar_, context_, shown_name(match)));
  } else if (id == command::kShowParameterMap) {
    return reported(show_parameter_map(grammar_, context_, shown_name(match)));
  } else if (id == command::kShowSslProxy) {
    return reported(show_ssl_proxy(grammar_, context_, shown_name(match)));
  } else if (id == command::kShowServicePolicies) {
    return show_applied_policies(match);
  } else if (id == command::kServicePolicy) {
    return apply(match);
  } else if (id == command::kTraffic) {
    return send_traffic(match);
  } else if (id == command::kExplain) {
    return reported(explain(grammar_, context_, *typed<std::string>(match, command::kExplainedFlow)));
  } else {
    return Execution::failed(fmt::format("Error: the shell has no command {}\n", id));
  }
  return {};
}

// The plug-in shows one policy-map with its heading, once for each loading.
Execution Session::show_applied_policies(const Match& match) {
  output::open_element("service_policies");
  Execution execution;
  if (const auto policies = applied_policies(context_); !policies) {
    execution = reported(tl::unexpected(policies.error()));
  } else {
    for (const std::string& policy : *policies) {
      Match named = match;
      named.tokens.insert(named.tokens.begin() + static_cast<std::ptrdiff_t>(match.carried_count),
                          {kw::service_policy_name, policy});
      execution = call_handler(named, KVEL_HANDLER(kvelpolicymap_show_servicepolicy));
      if (execution.outcome != Outcome::done) break;
    }
  }
  output::close_element("service_policies");
  return execution;
}

Execution Session::apply(const Match& match) {
  const auto policy = *typed<std::string>(match, command::kAppliedPolicy);
  const auto vlan = typed<std::uint32_t>(match, command::kAppliedVlan).value_or(kAllTraffic);
  if (vsh_platform_specific_rule_domain_check_valid(KVEL_DOMAIN_POLICY_MAP, policy.c_str(), match.negated ? 1 : 0) ==
      0) {
    return Execution::failed({});  // silent, as handlers are
  }
  return reported(apply_policy(context_, session_id_, policy, vlan, !match.negated));
}

Execution Session::send_traffic(const Match& match) {
  const TrafficResult result =
      count_traffic(context_, *typed<std::string>(match, command::kTrafficFile),
                    source_ == CommandSource::files ? StandardInput::free : StandardInput::holds_commands);
  Execution execution = result.succeeded ? Execution{} : Execution::failed(result.error_message);
  execution.interrupted = result.interrupted;
  return execution;
}

}  // namespace kvel::shell
