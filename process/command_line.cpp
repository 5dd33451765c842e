#include "process/command_line.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <sstream>

#include "encoding/printable.h"

namespace kvel {

using Option = CommandLine::Option;

Option& Option::type(const char* name) {
  option_->type_name(name);
  return *this;
}
Option& Option::required() {
  option_->required();
  return *this;
}
Option& Option::range(int low, int high) {
  option_->check(CLI::Range(low, high));
  return *this;
}
Option& Option::size() {
  CLI::AsSizeValue bytes(false);
  option_->transform(bytes.description(""));
  option_->check([](const std::string& value) {
    return std::string(value == "0" || value.starts_with('-') ? "a size is at least one byte" : "");
  });
  return *this;
}
Option& Option::one_of(std::initializer_list<const char*> words) {
  option_->check(CLI::IsMember(std::vector<std::string>(words.begin(), words.end())));
  return *this;
}
Option& Option::not_empty() {
  option_->check([](const std::string& value) { return std::string(value.empty() ? "an empty value" : ""); });
  return *this;
}
Option& Option::one_each() {
  option_->allow_extra_args(false);
  return *this;
}
Option& Option::excludes(Option other) {
  option_->excludes(other.option_);
  return *this;
}

CommandLine::CommandLine(const char* program, const char* version, const char* description)
    : app_(std::make_unique<CLI::App>(description, program)) {
  app_->set_version_flag("--version", std::string(program) + ' ' + version);
}
CommandLine::~CommandLine() = default;

Option CommandLine::add(const char* names, std::string& value, const char* help) {
  return Option(app_->add_option(names, value, help));
}
Option CommandLine::add(const char* names, std::optional<std::string>& value, const char* help) {
  return Option(app_->add_option(names, value, help));
}
Option CommandLine::add(const char* names, std::vector<std::string>& value, const char* help) {
  return Option(app_->add_option(names, value, help));
}
Option CommandLine::add(const char* names, std::filesystem::path& value, const char* help) {
  return Option(app_->add_option(names, value, help));
}
Option CommandLine::add(const char* names, int& value, const char* help) {
  return Option(app_->add_option(names, value, help));
}
Option CommandLine::add(const char* names, unsigned& value, const char* help) {
  return Option(app_->add_option(names, value, help));
}
Option CommandLine::add(const char* names, std::size_t& value, const char* help) {
  return Option(app_->add_option(names, value, help));
}
Option CommandLine::add(const char* names, bool& value, const char* help) {
  return Option(app_->add_flag(names, value, help));
}

std::optional<int> CommandLine::parse(int argc, char** argv) {
  try {
    app_->parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream usage_error;
    if (app_->exit(error, out, usage_error) != 0) {
      // It quotes the arguments, which may hold anything.
      std::fputs(encoding::printable_lines(usage_error.str()).c_str(), stderr);
      return kCannotStart;
    }
    const std::string text = out.str();
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return 0;
    std::fprintf(stderr, "%s: the output could not be written\n", app_->get_name().c_str());
    return kCannotStart;
  }
  return std::nullopt;
}

}  // namespace kvel
