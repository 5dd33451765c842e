// A fixture for lines typed in nested modes: which handler they reach with exactly which tokens.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "shell/matcher/help.h"
#include "tests/shell/matching.h"

namespace kvel::shell::test {

using Stack = std::vector<ModeLevel>;

class TypedLines : public ::testing::Test {
 protected:
  // The modes that these lines open, one inside the other.
  Stack inside(std::initializer_list<std::string_view> lines) const {
    Stack stack = stack_of(grammar, {"config"});
    for (const std::string_view line : lines) {
      const auto opened = match(grammar, stack, line);
      if (!opened || !opened->opens) {
        ADD_FAILURE() << line << " opens no mode";
        return stack;
      }
      stack.resize(opened->level + 1);
      stack.push_back(*opened->opens);
    }
    return stack;
  }

  // `tokens` are those of the line itself, after the carried ones.
  void accepts(const Stack& stack, const std::string& line, std::string_view handler, const Tokens& tokens,
               bool negated = false) {
    SCOPED_TRACE(line);
    const auto matched = match(grammar, stack, line);
    ASSERT_TRUE(matched) << describe(matched.error());
    EXPECT_EQ(matched->command->handler, handler);
    EXPECT_EQ(matched->negated, negated);
    EXPECT_EQ(matched->level, stack.size() - 1);
    Tokens all = stack.back().carried;
    EXPECT_EQ(matched->carried_count, all.size());
    all.insert(all.end(), tokens.begin(), tokens.end());
    EXPECT_EQ(matched->tokens, all);
    for (const Token& token : tokens)
      reached.insert(token.keyword);
  }

  // With and without "no" in front.
  void accepts_both(const Stack& stack, const std::string& line, std::string_view handler, const Tokens& tokens) {
    accepts(stack, line, handler, tokens);
    accepts(stack, "no " + line, handler, tokens, true);
  }

  // The mode that the line opens, by its name, and what is carried into it.
  void opens(const Stack& stack, const std::string& line, std::string_view mode, const Tokens& carried) {
    SCOPED_TRACE(line);
    const auto matched = match(grammar, stack, line);
    ASSERT_TRUE(matched) << describe(matched.error());
    ASSERT_TRUE(matched->opens);
    EXPECT_EQ(grammar.mode(matched->opens->mode).name, mode);
    EXPECT_EQ(matched->opens->carried, carried);
    const auto negated = match(grammar, stack, "no " + line);
    EXPECT_TRUE(negated && !negated->opens) << "\"no\" opens nothing";
  }

  std::string refusal(const Stack& stack, const std::string& line) const {
    const auto matched = match(grammar, stack, line);
    return matched ? "accepted" : describe(matched.error());
  }

  std::vector<std::string> help(const Stack& stack, std::string_view prefix) const {
    return texts(help_at(grammar, stack, prefix).value());
  }

  std::string prompt_of(const Stack& stack) const {
    std::string prompt(grammar.mode(stack.back().mode).prompt);
    for (const std::string& name : stack.back().names)
      prompt += " " + name;
    return prompt;
  }

  const Grammar& grammar = shell_grammar();
  std::set<KeywordId> reached;
};

}  // namespace kvel::shell::test
