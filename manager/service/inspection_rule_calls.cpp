// The rules of HTTP-inspection and FTP-inspection class-maps.
#include <string>

#include "manager/service/calls.h"
#include "manager/service/fields.h"

namespace kvel::manager {
namespace {

// What the match code of a call means, where it means anything that the other arguments do not.
constexpr std::uint8_t kUrlCode = 9;
constexpr std::uint8_t kUrlLengthCode = 10;
constexpr std::uint8_t kNoDirectionCode = 0;
constexpr std::uint8_t kRequestCode = 12;
constexpr std::uint8_t kResponseCode = 13;

}  // namespace

Status Calls::update_ftp_method_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                     std::uint8_t code, std::uint8_t add) {
  return update_rule({context, class_map, line}, add, FtpMethodRule{code});
}

Status Calls::update_header_length_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                        std::uint8_t code, DirectedRangeField range, std::uint8_t add) {
  if (code != kNoDirectionCode && code != kRequestCode && code != kResponseCode) return Status::invalid_code;
  // The selector repeats the code.
  const bool response = code == kResponseCode;
  if (word_at<0>(range) != (response ? 1U : 0U)) return Status::bad_arguments;
  return update_rule({context, class_map, line}, add,
                     HeaderLengthRule{response ? HttpDirection::response : HttpDirection::request, word_at<4>(range),
                                      word_at<8>(range)});
}

Status Calls::update_header_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                 std::string_view header, std::string_view value, std::uint8_t add) {
  return update_rule({context, class_map, line}, add, HeaderRule{std::string(header), std::string(value)});
}

Status Calls::update_url_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line, std::uint8_t code,
                              std::string_view expression, RangeField range, std::uint8_t add) {
  // The code decides which of the two is meant; the other one is no part of the rule.
  const RulePlace place{context, class_map, line};
  switch (code) {
    case kUrlCode:
      return update_rule(place, add, UrlRule{std::string(expression)});
    case kUrlLengthCode:
      return update_rule(place, add, UrlLengthRule{word_at<0>(range), word_at<4>(range)});
    default:
      return Status::invalid_code;
  }
}

Status Calls::update_mime_type_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                    std::uint8_t code, std::uint8_t add) {
  return update_rule({context, class_map, line}, add, MimeTypeRule{code});
}

Status Calls::update_content_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                  std::string_view expression, std::uint8_t offset, std::uint8_t add) {
  return update_rule({context, class_map, line}, add, ContentRule{std::string(expression), offset});
}

Status Calls::update_content_length_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                         RangeField range, std::uint8_t add) {
  return update_rule({context, class_map, line}, add, ContentLengthRule{word_at<0>(range), word_at<4>(range)});
}

Status Calls::update_request_method_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                         std::uint8_t code, std::uint8_t add) {
  return update_rule({context, class_map, line}, add, RequestMethodRule{code});
}

Status Calls::update_port_misuse_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                      std::uint8_t code, std::uint8_t add) {
  return update_rule({context, class_map, line}, add, PortMisuseRule{code});
}

Status Calls::update_transfer_encoding_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                            std::uint8_t code, std::uint8_t add) {
  return update_rule({context, class_map, line}, add, TransferEncodingRule{code});
}

}  // namespace kvel::manager
