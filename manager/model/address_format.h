// An IPv4 address in messages and records, in the dotted form.
#pragma once

#include <fmt/format.h>

#include <string_view>

#include "manager/model/address.h"

template <>
struct fmt::formatter<kvel::manager::Ipv4> : fmt::formatter<std::string_view> {
  auto format(const kvel::manager::Ipv4& address, format_context& context) const {
    const std::uint32_t word = address.word;
    return fmt::format_to(context.out(), "{}.{}.{}.{}", word >> 24U, (word >> 16U) & 0xffU, (word >> 8U) & 0xffU,
                          word & 0xffU);
  }
};
