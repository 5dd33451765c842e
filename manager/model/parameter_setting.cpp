// The tables. Each default is that of a well-behaved stack; where no standard gives one, its comment gives the reason.
#include "manager/model/parameter_setting.h"

#include <limits>

namespace kvel::manager {
namespace {

using Form = SettingField::Form;
using Width = BytePlace::Width;
using Words = std::span<const std::string_view>;

constexpr std::uint32_t kAnyNumber = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kMaxByte = 255;
constexpr std::uint32_t kMaxOption = 255;  // TCP options are numbered by a byte
constexpr std::uint32_t kMaxMss = 65535;   // TCP states an MSS in 16 bits

constexpr std::string_view kEnabledWords[] = {"enabled", "disabled"};
constexpr std::string_view kDisabledWords[] = {"disabled", "enabled"};
constexpr std::string_view kAllowClearWords[] = {"allow", "clear"};
constexpr std::string_view kAllowClearDropWords[] = {"allow", "clear", "drop"};
constexpr std::string_view kAllowDropWords[] = {"allow", "drop"};
constexpr std::string_view kDropContinueWords[] = {"drop", "continue"};
constexpr std::string_view kVersionWords[] = {"all", "ssl3", "tls1"};
constexpr std::string_view kCloseWords[] = {"strict", "none", "disabled"};

enum : std::uint32_t { kEnabled = 0, kDisabled = 1 };  // of connection maps
enum : std::uint32_t { kHttpDisabled = 0 };
enum : std::uint32_t { kAllow = 0 };
enum : std::uint32_t { kExceedDrop = 1 };
enum : std::uint32_t { kLengthDrop = 0 };
enum : std::uint32_t { kEveryVersion = 0 };
enum : std::uint32_t { kStrict = 0 };

constexpr BytePlace word(std::size_t at) { return {at, Width::word}; }
constexpr BytePlace byte(std::size_t at) { return {at, Width::byte}; }
constexpr BytePlace kNowhere{};

// An entry has the settings of connection and HTTP maps as they are sent, this far after.
constexpr BytePlace shown(BytePlace sent) { return {sent.at + 76, sent.width}; }

consteval SettingField number(std::string_view name, BytePlace sent, std::uint32_t default_value,
                              std::uint32_t max = kAnyNumber) {
  return {name, Form::number, max, {}, sent, shown(sent), default_value};
}
consteval SettingField choice(std::string_view name, Words words, BytePlace sent, std::uint32_t default_value) {
  return {name, Form::choice, static_cast<std::uint32_t>(words.size() - 1), words, sent, shown(sent), default_value};
}
consteval SettingField characters(std::string_view name, BytePlace sent, std::string_view default_text) {
  std::uint32_t packed = 0;
  for (const char character : default_text)
    packed = packed << 8U | static_cast<unsigned char>(character);
  return {name, Form::characters, kAnyNumber, {}, sent, shown(sent), packed};
}

consteval ParameterSetting setting(std::uint32_t mask, std::string_view kind, SettingField field) {
  ParameterSetting row{mask, kind};
  row.fields[0] = field;
  return row;
}
consteval ParameterSetting pair(std::uint32_t mask, std::string_view kind, FieldOrder order, SettingField first,
                                SettingField second) {
  ParameterSetting row = setting(mask, kind, first);
  row.fields[1] = second;
  row.field_count = 2;
  row.order = order;
  return row;
}
// A setting that is on or off, and on with a value; the word selects which.
consteval ParameterSetting switched(ParameterSetting row, BytePlace on_sent) {
  row.is_set_shown = shown(on_sent);
  return row;
}

constexpr ParameterSetting kConnectionSettings[] = {
    // RFC 9293 3.6 lets one side go on sending for as long as it likes after the other has closed. An hour without a
    // segment is longer than a live transfer pauses.
    setting(0x80000000, "half-closed-timeout", number("seconds", word(4), 3600)),
    // Half of the 64 KiB that a window without scaling can have (RFC 9293 3.1, RFC 7323 2.1).
    setting(0x40000000, "rx-buffer-share", number("bytes", word(8), 32768)),
    // RFC 896; RFC 1122 4.2.3.4 wants it, with a way to turn it off.
    setting(0x10000000, "nagle", choice("mode", kEnabledWords, word(16), kEnabled)),
    // RFC 4987 3.3 advises to forget half-open connections soon. RFC 6298 2.1 repeats a SYN after 1 s and after 3 s, so
    // that a client behind a lossy path still gets through.
    setting(0x08000000, "embryonic-timeout", number("seconds", word(20), 5)),
    // As the receiving side.
    setting(0x04000000, "tx-buffer-share", number("bytes", word(24), 32768)),
    // RFC 5681 3.1 requires it.
    setting(0x02000000, "slow-start", choice("mode", kEnabledWords, word(28), kEnabled)),
    // RFC 1122 4.2.3.6: keepalives must default to off.
    setting(0x01000000, "keepalive", choice("mode", kEnabledWords, word(32), kDisabled)),
    // No standard bounds how long a connection may be silent. As the half-closed timeout; address translators keep
    // connections for more than two hours (RFC 5382, REQ-5) and need a longer one.
    setting(0x00800000, "inactivity-timeout", number("seconds", word(132), 3600)),
    // The waits double from 1 s (RFC 6298 5.5): four repetitions end after 31 s. RFC 1122 4.2.3.5 has end hosts go on
    // for three minutes; a proxy has a client waiting behind it.
    setting(0x00200000, "syn-retry-count", number("count", word(44), 4)),
    // RFC 2474: the field is the network's to mark; what a sender asked for passes.
    switched(setting(0x00100000, "tos-rewrite", number("value", byte(128), kOff, kMaxByte)), word(124)),
    // RFC 879 and RFC 6691: what fits into 1500 bytes besides the headers; no least size.
    pair(0x00080000, "mss", FieldOrder::bounds, number("min", word(52), 0, kMaxMss),
         number("max", word(48), 1460, kMaxMss)),
    // RFC 9293 3.1: unknown options are ignored by whoever gets them, so none is singled out.
    pair(0x00040000, "options-allow", FieldOrder::range, number("low", word(56), 0, kMaxOption),
         number("high", word(60), 0, kMaxOption)),
    pair(0x00010000, "options-drop", FieldOrder::range, number("low", word(72), 0, kMaxOption),
         number("high", word(76), 0, kMaxOption)),
    // RFC 2018.
    setting(0x00004000, "selective-ack", choice("action", kAllowClearWords, word(84), kAllow)),
    // RFC 7323 3.
    setting(0x00002000, "timestamp", choice("action", kAllowClearWords, word(88), kAllow)),
    // RFC 7323 2.
    setting(0x00001000, "window-scale", choice("action", kAllowClearWords, word(92), kAllow)),
    // RFC 3168 6.1 made two of them its own; clearing them would turn congestion notification off.
    setting(0x00000800, "reserved-bits", choice("action", kAllowClearDropWords, word(96), kAllow)),
    // RFC 6528.
    setting(0x00000400, "random-sequence", choice("mode", kEnabledWords, word(100), kEnabled)),
    // RFC 9293 3.4 lets a SYN carry data; RFC 7413 makes use of it.
    setting(0x00000200, "syn-data", choice("action", kAllowDropWords, word(104), kAllow)),
    // RFC 9293 3.7.1: nobody may send more than the other side announced.
    setting(0x00000100, "exceed-mss", choice("action", kAllowDropWords, word(108), kExceedDrop)),
    // RFC 6093 2 keeps the urgent mechanism, though it advises against new uses.
    setting(0x00000080, "urgent-flag", choice("action", kAllowClearWords, word(112), kAllow)),
    // What these three do is not known here. The command for the one at 120 sends 0, so it is 1 otherwise.
    setting(0x00000040, "setting-116", number("value", word(116), 0, 1)),
    setting(0x00000020, "setting-120", number("value", word(120), 1, 1)),
    setting(0x00000010, "setting-136", number("value", word(136), 0)),
    // No limit.
    setting(0x00000008, "queue-limit", number("count", word(40), 0)),
};

constexpr ParameterSetting kHttpSettings[] = {
    // RFC 9112 9.3 lets an intermediary reuse a connection, or not: sharing one between clients is to be asked for.
    setting(0x80000000, "connection-reuse", choice("mode", kDisabledWords, word(4), kHttpDisabled)),
    // RFC 3986 6.2.2.1: only scheme and host are without regard to case.
    setting(0x40000000, "case-insensitive", choice("mode", kDisabledWords, word(8), kHttpDisabled)),
    // RFC 9112 9.3: requests of one connection go one way, until each is to be balanced anew.
    setting(0x20000000, "persistence-rebalance", choice("mode", kDisabledWords, word(12), kHttpDisabled)),
    // RFC 9110 2.3 and 5.4: what is too long to be understood is not passed on half understood.
    setting(0x10000000, "length-exceed", choice("action", kDropContinueWords, word(16), kLengthDrop)),
    // RFC 9112 3 asks for at least 8000 for the request line alone.
    setting(0x08000000, "header-max-parse", number("bytes", word(20), 8192)),
    // No standard: half as much of the content.
    setting(0x04000000, "content-max-parse", number("bytes", word(24), 4096)),
    // RFC 3986 3.3 to 3.5: what parts path, query and fragment, and the parameters of a query.
    setting(0x02000000, "cookie-delimiters", characters("text", word(28), "/?&#")),
};

// An SSL map is sent one setting at a time, each at the same place, and shown in a layout of its own.
constexpr BytePlace kSslSent = word(4);

consteval ParameterSetting ssl(std::uint32_t mask, std::string_view kind, SettingField field, BytePlace shown_at) {
  field.shown = shown_at;
  return setting(mask, kind, field);
}
// A cipher is in the list while it has a priority; no cipher is there by itself.
consteval ParameterSetting cipher(std::uint32_t code) {
  ParameterSetting row = ssl(0x80000000, "cipher", number("priority", word(8), 0, kMaxByte), byte(84 + code));
  row.code = code;
  row.code_sent = kSslSent;
  row.is_set_shown = word(80);
  return row;
}

constexpr ParameterSetting kSslSettings[] = {
    // No list: whatever both sides can do.
    cipher(0),
    cipher(1),
    cipher(2),
    cipher(3),
    cipher(4),
    cipher(5),
    cipher(6),
    cipher(7),
    cipher(8),
    cipher(9),
    cipher(10),
    cipher(11),
    // RFC 8446 4.1.3 and 4.2.1: the highest version that both sides have, whichever it is.
    ssl(0x40000000, "version", choice("version", kVersionWords, kSslSent, kEveryVersion), word(96)),
    // What these three do is not known here.
    ssl(0x20000000, "setting-956", number("value", kSslSent, 0), kNowhere),
    // RFC 8446 6.1: each side sends a close_notify before it closes.
    ssl(0x10000000, "close-protocol", choice("mode", kCloseWords, kSslSent, kStrict), word(112)),
    ssl(0x08000000, "setting-963", number("value", kSslSent, 0), kNowhere),
    ssl(0x04000000, "setting-964", number("value", kSslSent, 0), kNowhere),
};

static_assert(std::size(kConnectionSettings) <= kMaxParameterSettings);
static_assert(std::size(kHttpSettings) <= kMaxParameterSettings);
static_assert(std::size(kSslSettings) <= kMaxParameterSettings);

// At least one character, and nothing after the last.
bool are_characters(std::uint32_t packed) {
  bool ended = false;
  for (unsigned shift = 32; shift != 0;) {
    shift -= 8;
    const std::uint32_t character = packed >> shift & 0xffU;
    const bool is_visible = character > 0x20 && character < 0x7f;
    if (ended ? character != 0 : !is_visible && (character != 0 || shift == 24)) return false;
    ended = character == 0;
  }
  return true;
}

bool fits(const SettingField& field, std::uint32_t value) {
  return field.form == Form::characters ? are_characters(value) : value <= field.max;
}

}  // namespace

std::span<const ParameterSetting> settings_of(ParameterMapType type) {
  switch (type) {
    case ParameterMapType::http:
      return kHttpSettings;
    case ParameterMapType::ssl:
      return kSslSettings;
    case ParameterMapType::connection:
      break;
  }
  return kConnectionSettings;
}

std::uint32_t known_mask(ParameterMapType type) {
  std::uint32_t mask = 0;
  for (const ParameterSetting& setting : settings_of(type))
    mask |= setting.mask;
  return mask;
}

Status check_setting(const ParameterSetting& setting, const SettingValue& value) {
  for (std::size_t index = 0; index < setting.field_count; ++index) {
    if (!fits(setting.fields[index], value[index])) return Status::invalid_setting;
  }
  const auto [low, high] = value;
  switch (setting.order) {
    case FieldOrder::range:
      return low <= high ? Status::ok : Status::empty_range;
    case FieldOrder::bounds:
      return low <= high || high == 0 ? Status::ok : Status::invalid_setting;
    case FieldOrder::any:
      break;
  }
  return Status::ok;
}

}  // namespace kvel::manager
