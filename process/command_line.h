// The command line of a program. Both programs read theirs by CLI11 through this header, so that it is compiled once.
#pragma once

#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace kvel {

// The exit status of wrong usage, and of a program that cannot start.
inline constexpr int kCannotStart = 2;

class CommandLine {
 public:
  // One option; its functions return it, so that they can be chained.
  class Option {
   public:
    // How help names the value.
    Option& type(const char* name);
    Option& required();
    Option& range(int low, int high);
    // The value is a size in bytes, from 1: a number alone, or with k, M, G or T.
    Option& size();
    Option& one_of(std::initializer_list<const char*> words);
    // Refuses an empty value: a variable that was not set, more likely than the wish for the default.
    Option& not_empty();
    Option& excludes(Option other);
    // Of a list: each time the option is given it takes one value, and those after that are no longer its own.
    Option& one_each();

   private:
    friend class CommandLine;
    explicit Option(CLI::Option* option) : option_(option) {}
    CLI::Option* option_;
  };

  CommandLine(const char* program, const char* version, const char* description);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;
  ~CommandLine();

  // An option with a value, which is written when parse() meets it and outlives this. Names as "-c,--command"; a name
  // without dashes takes what no option does.
  Option add(const char* names, std::string& value, const char* help);
  Option add(const char* names, std::optional<std::string>& value, const char* help);
  Option add(const char* names, std::vector<std::string>& value, const char* help);
  Option add(const char* names, std::filesystem::path& value, const char* help);
  Option add(const char* names, int& value, const char* help);
  Option add(const char* names, unsigned& value, const char* help);
  Option add(const char* names, std::size_t& value, const char* help);
  // An option without one.
  Option add(const char* names, bool& value, const char* help);

  // The exit status when there is nothing else to do: help or version was printed (0), or the usage was wrong, which
  // has been reported (kCannotStart), as when help or version could not be printed.
  [[nodiscard]] std::optional<int> parse(int argc, char** argv);

 private:
  std::unique_ptr<CLI::App> app_;
};

}  // namespace kvel
