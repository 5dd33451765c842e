// The words of flows against those that the shell's grammar has for the same codes.
#include "manager/traffic/flow_words.h"

#include <gtest/gtest.h>

#include "shell/grammar/ftp_inspection_rules.h"
#include "shell/grammar/http_inspection_rules.h"

namespace kvel::manager::testing::flow_words_test {
namespace {

// Compares every word of the pattern that has a code; returns how many there were.
std::size_t compare(const shell::Pattern& pattern, const CodeWords& words) {
  std::size_t compared = 0;
  for (const shell::Binding& binding : pattern.bindings) {
    if (binding.kind != shell::Binding::Kind::code) continue;
    const auto code = std::get<std::uint32_t>(binding.constant);
    EXPECT_EQ(words.code_of(pattern.symbol.text), code) << pattern.symbol.text;
    ++compared;
  }
  for (const shell::Pattern& part : pattern.parts)
    compared += compare(part, words);
  return compared;
}

TEST(FlowWords, AreThoseOfTheGrammar) {
  EXPECT_EQ(compare(shell::request_method_rule(), kRequestMethodWords), 27U);
  EXPECT_EQ(compare(shell::mime_type_rule(), kMimeTypeWords), 45U);
  EXPECT_EQ(compare(shell::transfer_encoding_rule(), kTransferEncodingWords), 6U);
  EXPECT_EQ(compare(shell::port_misuse_rule(), kPortMisuseWords), 3U);
  EXPECT_EQ(compare(shell::ftp_command_rule(&shell::FtpCommand::in_class_map), kFtpMethodWords), 13U);
}

TEST(FlowWords, OfOtherKindsHaveNoCode) {
  EXPECT_EQ(kRequestMethodWords.code_of("BREW"), std::nullopt);
  EXPECT_EQ(kRequestMethodWords.code_of(""), std::nullopt);
  EXPECT_EQ(kRequestMethodWords.code_of("GETT"), std::nullopt);
  EXPECT_EQ(kTransferEncodingWords.word_of(83), "chunked");
  EXPECT_EQ(kTransferEncodingWords.word_of(88), "trailers");
  EXPECT_EQ(protocol_of("tcp"), 6);
  EXPECT_EQ(protocol_of("chaos"), std::nullopt);
}

}  // namespace
}  // namespace kvel::manager::testing::flow_words_test
