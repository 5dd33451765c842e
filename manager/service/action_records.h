// Reads the records in which clients send actions, and makes edits of them.
#pragma once

#include <cstddef>
#include <span>
#include <tl/expected.hpp>

#include "manager/service/action_edit.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

using ReadEdits = tl::expected<ActionEdits, Status>;

// What a record that adds contains. bad_arguments: a bit or a value that means nothing, or a text that does not end. A
// field that a record clears is named by its bit; its value is not read.
[[nodiscard]] ReadEdits read_layer3_options(std::span<const std::byte, 8> record, bool add);
[[nodiscard]] ReadEdits read_vip_config(std::span<const std::byte, 160> record, bool add);
[[nodiscard]] ReadEdits read_load_balancing(std::span<const std::byte, 732> record, bool add);

// An inspection is put as a whole, and removed whatever its record contains.
[[nodiscard]] ReadEdits read_http_inspection(std::span<const std::byte, 156> record);
[[nodiscard]] ReadEdits read_dns_inspection(std::span<const std::byte, 12> record);
[[nodiscard]] ReadEdits read_icmp_inspection(std::span<const std::byte, 4> record);
[[nodiscard]] ReadEdits read_ftp_inspection(std::span<const std::byte, 72> record);

}  // namespace kvel::manager
