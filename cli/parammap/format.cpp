// One page of parameter-maps as text. The lines are read by other machines: blanks, colons and the lines that differ
// from their neighbours are all deliberate.
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <utility>

#include "cli/common/big_endian.h"
#include "cli/parammap/param_map.h"
#include "cli/parammap/param_map_entry.h"
#include "kvel/plugin.h"

namespace kvel::cli::parammap {

namespace {

template <class Field>
using Shown = ParamMapEntry::Shown<Field>;

constexpr const char* kCipherNames[] = {
    "RSA_WITH_RC4_128_MD5",           "RSA_WITH_RC4_128_SHA",
    "RSA_WITH_DES_CBC_SHA",           "RSA_WITH_3DES_EDE_CBC_SHA",
    "RSA_WITH_AES_128_CBC_SHA",       "RSA_WITH_AES_256_CBC_SHA",
    "RSA_EXPORT_WITH_RC4_40_MD5",     "RSA_EXPORT1024_WITH_RC4_56_MD5",
    "RSA_EXPORT_WITH_DES40_CBC_SHA",  "RSA_EXPORT1024_WITH_DES_CBC_SHA",
    "RSA_EXPORT1024_WITH_RC4_56_SHA", "RSA_ANY",
};
constexpr std::uint32_t kCiphers = sizeof(kCipherNames) / sizeof(kCipherNames[0]);

void show_type(const char* type) { std::printf(" %-4s : %s\n", "Type", type); }
void show(const char* label, const char* value) { std::printf("    %-35s: %s\n", label, value); }
void show_signed(const char* label, std::uint32_t value) {
  std::printf("    %-35s: %d\n", label, static_cast<int>(value));
}
void show_unsigned(const char* label, std::uint32_t value) {
  std::printf("    %-35s: %u\n", label, static_cast<unsigned>(value));
}
void show_range(const char* label, const RangeView& range) {
  std::printf("    %-35s: %u-%d\n", label, static_cast<unsigned>(range.low), static_cast<int>(range.high));
}

const char* enabled(std::uint32_t flag) { return flag != 0 ? "enabled" : "disabled"; }
const char* disabled(std::uint32_t flag) { return flag != 0 ? "disabled" : "enabled"; }
const char* clear_or_allow(std::uint32_t action) { return action != 0 ? "clear" : "allow"; }
const char* drop_or_allow(std::uint32_t action) { return action != 0 ? "drop" : "allow"; }

void show_http(ParamMapEntry& entry) {
  const std::uint32_t case_insensitive = entry.field<Shown<Http::CaseInsensitive>>();
  show("server-side connection reuse", enabled(entry.field<Shown<Http::ConnectionReuse>>()));
  show(case_insensitive != 0 ? "case-insensitive parsing:" : "case-insensitive parsing", enabled(case_insensitive));
  show("persistence-rebalance", enabled(entry.field<Shown<Http::PersistenceRebalance>>()));
  show_signed("header-maxparse-length", entry.field<Shown<Http::HeaderMaxParse>>());
  show_signed("content-maxparse-length", entry.field<Shown<Http::ContentMaxParse>>());
  show("parse length-exceed action", entry.field<Shown<Http::LengthExceed>>() != 0 ? "continue" : "drop");
  std::printf("    %-35s: %.4s\n", "urlcookie-delimiters", entry.field<Shown<Http::CookieDelimiters>>().c_str());
}

template <std::size_t Code>
void show_cipher(ParamMapEntry& entry) {
  const std::uint8_t priority = entry.field<ParamMapEntry::Priority<Code>>();
  if (priority != 0) std::printf("      %s (priority:%d)\n", kCipherNames[Code], static_cast<int>(priority));
}

template <std::size_t... Code>
void show_ciphers(ParamMapEntry& entry, std::index_sequence<Code...>) {
  (show_cipher<Code>(entry), ...);
}

void show_ssl(ParamMapEntry& entry) {
  const std::uint32_t version = entry.field<ParamMapEntry::Version>();
  const std::uint32_t close = entry.field<ParamMapEntry::CloseProtocol>();
  show("version", version == 1 ? "SSL3" : version == 2 ? "TLS1" : "all");
  show("close-protocol", close == 1 ? "none" : close == 2 ? "disabled" : "strict");
  if (entry.field<ParamMapEntry::HasCiphers>() == 0) return;
  std::printf("    %-35s\n", "Accepted cipher list:");
  show_ciphers(entry, std::make_index_sequence<kCiphers>());
}

// Of these two the line of the enabled state has a form of its own.
void show_disabled_or_bare(const char* label, std::uint32_t is_disabled) {
  if (is_disabled != 0) {
    show(label, "disabled");
  } else {
    std::printf("   %-35s%s\n", label, "enabled");
  }
}

void show_connection(ParamMapEntry& entry) {
  show_disabled_or_bare("nagle", entry.field<Shown<Connection::Nagle>>());
  show_disabled_or_bare("slow start", entry.field<Shown<Connection::SlowStart>>());
  show("client keepalive", disabled(entry.field<Shown<Connection::Keepalive>>()));
  show_signed("rx side buffer-share size", entry.field<Shown<Connection::RxBufferShare>>());
  show_signed("tx side buffer-share size", entry.field<Shown<Connection::TxBufferShare>>());
  show_unsigned("inactivity timeout (in seconds)", entry.field<Shown<Connection::InactivityTimeout>>());
  show_unsigned("embryonic timeout (in seconds)", entry.field<Shown<Connection::EmbryonicTimeout>>());
  show_unsigned("half-closed timeout (in seconds)", entry.field<Shown<Connection::HalfClosedTimeout>>());
  if (entry.field<Shown<Connection::TosRewrite>>() != 0) {
    show_unsigned("TOS rewrite value", entry.field<Shown<Connection::TosValue>>());
  } else {
    show("TOS rewrite", "disabled");
  }
  show_unsigned("queue-limit", entry.field<Shown<Connection::QueueLimit>>());
  show_unsigned("syn retry count", entry.field<Shown<Connection::SynRetryCount>>());
  show_unsigned("TCP MSS min", entry.field<Shown<Connection::MssMin>>());
  show_unsigned("TCP MSS max", entry.field<Shown<Connection::MssMax>>());
  show_range("tcp-options drop range", entry.field<Shown<Connection::OptionsDrop>>());
  show_range("tcp-options allow range", entry.field<Shown<Connection::OptionsAllow>>());
  show_range("tcp-options clear range", entry.field<Shown<Connection::OptionsClear>>());
  show("selective-ack", clear_or_allow(entry.field<Shown<Connection::SelectiveAck>>()));
  show("timestamp", clear_or_allow(entry.field<Shown<Connection::Timestamp>>()));
  show("window-scale", clear_or_allow(entry.field<Shown<Connection::WindowScale>>()));
  const std::uint32_t reserved_bits = entry.field<Shown<Connection::ReservedBits>>();
  show("reserved-bits", reserved_bits == 1 ? "clear" : reserved_bits == 2 ? "drop" : "allow");
  show("random-seq-num", disabled(entry.field<Shown<Connection::RandomSequence>>()));
  show("SYN data", drop_or_allow(entry.field<Shown<Connection::SynData>>()));
  show("exceed-mss", drop_or_allow(entry.field<Shown<Connection::ExceedMss>>()));
  show("urgent-flag", clear_or_allow(entry.field<Shown<Connection::UrgentFlag>>()));
}

// A map of a type that is not known here shows its name and nothing more.
void show_entry(ParamMapEntry& entry) {
  std::printf("\n\n %-13s : %.65s\n", "Parameter-map", entry.field<ParamMapEntry::Name>().c_str());
  switch (entry.field<ParamMapEntry::Type>()) {
    case kHttp:
      show_type("http");
      show_http(entry);
      break;
    case kSsl:
      show_type("ssl");
      show_ssl(entry);
      break;
    case kConnection:
      show_type("connection");
      show_connection(entry);
      break;
    default:
      break;
  }
}

}  // namespace

}  // namespace kvel::cli::parammap

using namespace kvel::cli;
using namespace kvel::cli::parammap;

// An entry that does not lie whole within the page is not read, whatever number of entries the page gives.
int32_t format_and_display_param_map(const void* page, int32_t length) {
  if (page == nullptr || length < 1) return 1;
  const char* bytes = static_cast<const char*>(page);
  auto left = static_cast<std::size_t>(length);
  be32 entries;
  if (left < sizeof(entries)) return 0;
  std::memcpy(&entries, bytes, sizeof(entries));
  bytes += sizeof(entries);
  left -= sizeof(entries);
  for (std::uint32_t index = 0; index < entries && left >= sizeof(ParamMapEntry); ++index) {
    ParamMapEntry entry(bytes);
    show_entry(entry);
    bytes += sizeof(ParamMapEntry);
    left -= sizeof(ParamMapEntry);
  }
  return 0;
}

char* pm_format_ssl_cipher_str(uint32_t code, char* buffer) {
  constexpr std::size_t kBound = 64;
  if (code < kCiphers) std::strncpy(buffer, kCipherNames[code], kBound);
  return buffer;
}
