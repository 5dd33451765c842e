// The layouts of the records that cross the plug-in's boundary. They are derived from the width of a pointer, so that
// the same test holds on 32-bit machines; the 64-bit numbers stand beside them.
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "kvel/command.h"
#include "kvel/completion.h"
#include "kvel/host.h"
#include "kvel/plugin.h"
#include "kvel/rpc.h"

namespace kvel::cli::test::record_layout_test {
namespace {

constexpr std::size_t kPointer = sizeof(void*);

TEST(RecordLayout, CliToken) {
  EXPECT_EQ(offsetof(CliToken, keyword_id), 0U);
  EXPECT_EQ(sizeof(CliToken::keyword_id), 4U);
  EXPECT_EQ(offsetof(CliToken, reserved), 4U);
  EXPECT_EQ(sizeof(CliToken::reserved), 12U);
  EXPECT_EQ(offsetof(CliToken, text), 16U);
  EXPECT_EQ(sizeof(CliToken), 16 + kPointer);
}

TEST(RecordLayout, CliCommand) {
  EXPECT_EQ(KVEL_MAX_TOKENS, 255);
  EXPECT_EQ(offsetof(CliCommand, token_count), 0U);
  EXPECT_EQ(sizeof(CliCommand::token_count), 1U);
  EXPECT_EQ(offsetof(CliCommand, negated), 4U);
  EXPECT_EQ(sizeof(CliCommand::negated), 4U);
  EXPECT_EQ(offsetof(CliCommand, skip_execution), 8U);
  EXPECT_EQ(sizeof(CliCommand::skip_execution), 4U);
  EXPECT_EQ(offsetof(CliCommand, command_id), 12U);
  EXPECT_EQ(sizeof(CliCommand::command_id), 4U);
  EXPECT_EQ(offsetof(CliCommand, tokens), 16U);
  EXPECT_EQ(sizeof(CliCommand::tokens), 255 * kPointer);
  EXPECT_EQ(offsetof(CliCommand, context_id), 16 + 255 * kPointer);
  EXPECT_EQ(sizeof(CliCommand::context_id), 2U);
  EXPECT_EQ(offsetof(CliCommand, session_id), 16 + 255 * kPointer + 4);
  EXPECT_EQ(sizeof(CliCommand::session_id), 4U);
  EXPECT_EQ(sizeof(CliCommand), 16 + 255 * kPointer + 8);
}

TEST(RecordLayout, CompletionList) {
  EXPECT_EQ(offsetof(CompletionEntry, name), 0U);
  EXPECT_EQ(offsetof(CompletionEntry, help), kPointer);
  EXPECT_EQ(sizeof(CompletionEntry), 2 * kPointer);
  EXPECT_EQ(offsetof(CompletionList, count), 0U);
  EXPECT_EQ(sizeof(CompletionList::count), 4U);
  EXPECT_EQ(offsetof(CompletionList, reserved), 4U);
  EXPECT_EQ(sizeof(CompletionList::reserved), 4U);
  EXPECT_EQ(offsetof(CompletionList, entries), 8U);
  EXPECT_EQ(sizeof(CompletionList), 8 + kPointer);
}

TEST(RecordLayout, TnrpcResponse) {
  EXPECT_EQ(offsetof(TnrpcResponse, length), 0U);
  EXPECT_EQ(sizeof(TnrpcResponse::length), 4U);
  EXPECT_EQ(offsetof(TnrpcResponse, data), kPointer);
  EXPECT_EQ(sizeof(TnrpcResponse), 2 * kPointer);
}

TEST(RecordLayout, SixtyFourBit) {
  if constexpr (kPointer == 8) {
    EXPECT_EQ(sizeof(CliToken), 24U);
    EXPECT_EQ(offsetof(CliCommand, context_id), 2056U);
    EXPECT_EQ(offsetof(CliCommand, session_id), 2060U);
    EXPECT_EQ(sizeof(CliCommand), 2064U);
    EXPECT_EQ(sizeof(CompletionEntry), 16U);
    EXPECT_EQ(sizeof(CompletionList), 16U);
    EXPECT_EQ(sizeof(TnrpcResponse), 16U);
  } else {
    EXPECT_EQ(sizeof(CliToken), 20U);
    EXPECT_EQ(offsetof(CliCommand, context_id), 1036U);
    EXPECT_EQ(offsetof(CliCommand, session_id), 1040U);
    EXPECT_EQ(sizeof(CliCommand), 1044U);
    EXPECT_EQ(sizeof(CompletionEntry), 8U);
    EXPECT_EQ(sizeof(CompletionList), 12U);
    EXPECT_EQ(sizeof(TnrpcResponse), 8U);
  }
}

TEST(RecordLayout, TypesOfTheFields) {
  EXPECT_TRUE((std::is_same_v<decltype(CliToken::keyword_id), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(CliToken::text), const void*>));
  EXPECT_TRUE((std::is_same_v<decltype(CliCommand::token_count), std::uint8_t>));
  EXPECT_TRUE((std::is_same_v<decltype(CliCommand::negated), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(CliCommand::skip_execution), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(CliCommand::command_id), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(CliCommand::context_id), std::int16_t>));
  EXPECT_TRUE((std::is_same_v<decltype(CliCommand::session_id), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(CompletionList::count), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(TnrpcResponse::length), std::int32_t>));
}

TEST(RecordLayout, TypesOfTheFunctions) {
  EXPECT_TRUE((std::is_same_v<decltype(kvelclassmap_config), std::int32_t(const CliCommand*)>));
  EXPECT_TRUE((std::is_same_v<decltype(kvelclassmap_config_desc), std::int32_t(const CliCommand*)>));
  EXPECT_TRUE((std::is_same_v<decltype(classmap_completionhook), CompletionList*(std::uint32_t, const CliCommand*)>));
  EXPECT_TRUE((std::is_same_v<decltype(class_display_error), void(std::int32_t)>));
  EXPECT_TRUE((std::is_same_v<decltype(tnrpc_clnt_init), std::int32_t(std::int32_t)>));
  EXPECT_TRUE((std::is_same_v<decltype(tnrpc_call), std::int32_t(const char*, std::int32_t, ...)>));
  EXPECT_TRUE((std::is_same_v<decltype(tnrpc_init_resp), void(TnrpcResponse*)>));
  EXPECT_TRUE((std::is_same_v<decltype(tnrpc_free), void(TnrpcResponse*)>));
  EXPECT_TRUE((std::is_same_v<decltype(syserr2str), const char*(std::int32_t)>));
  EXPECT_TRUE((std::is_same_v<decltype(vsh_platform_specific_rule_domain_check_valid),
                              std::int32_t(std::int32_t, const char*, std::uint32_t)>));
  EXPECT_TRUE((std::is_same_v<decltype(vsh_platform_matched_rule_modify_check), std::int32_t(std::uint32_t)>));
}

TEST(RecordLayout, TypeCodes) {
  EXPECT_EQ(TNRPC_ARG_U8, 0);
  EXPECT_EQ(TNRPC_ARG_U16, 1);
  EXPECT_EQ(TNRPC_ARG_U32, 2);
  EXPECT_EQ(TNRPC_ARG_STRING, 4);
  EXPECT_EQ(TNRPC_ARG_SESSION, 6);
  EXPECT_EQ(TNRPC_ARG_BUFFER, 8);
  EXPECT_EQ(TNRPC_ARG_RESPONSE, 9);
}

}  // namespace
}  // namespace kvel::cli::test::record_layout_test
