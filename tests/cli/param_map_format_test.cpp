// The settings that format_and_display_param_map shows, line by line and byte by byte, and pm_format_ssl_cipher_str.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/param_map_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::param_map_format_test {
namespace {

using namespace std::string_literals;

const std::string kConnection = "\0\0\0\0"s;  // types
const std::string kHttp = "\0\0\0\1"s;
const std::string kSsl = "\0\0\0\2"s;

using Lines = std::vector<std::string>;

// The lines with one of them replaced.
Lines replaced(Lines lines, std::size_t index, const std::string& line) {
  lines.at(index) = line;
  return lines;
}

// Bytes of an entry, and the one line that they change.
struct Row {
  Bytes bytes;
  std::size_t index;
  std::string line;
};

class ParamMapFormat : public PluginTest {
 protected:
  Events format_entry(const std::string& type, const Bytes& bytes) {
    return format_page("format_and_display_param_map", "\0\0\0\1"s + map_entry(type, "m", bytes));
  }
};

Events printed(const std::string& text) { return {out(text), "return 0"}; }
Events printed(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines)
    text += line + "\n";
  return printed(text);
}

// A word with one bit in each of its bytes, in turn.
const std::array kNonzeroWords = {"\0\0\0\1"s, "\0\0\1\0"s,   "\0\1\0\0"s,
                                  "\1\0\0\0"s, "\x80\0\0\0"s, "\xff\xff\xff\xff"s};

// ---- http

const Lines kHttpLines = {
    "\n\n Parameter-map : m",                             // 0
    " Type : http",                                       //
    "    server-side connection reuse       : disabled",  // 2
    "    case-insensitive parsing           : disabled",  //
    "    persistence-rebalance              : disabled",  // 4
    "    header-maxparse-length             : 0",         //
    "    content-maxparse-length            : 0",         // 6
    "    parse length-exceed action         : drop",      //
    "    urlcookie-delimiters               : ",          // 8
};

TEST_F(ParamMapFormat, AnHttpMapOfZeros) { EXPECT_EQ(format_entry(kHttp, {}), printed(kHttpLines)); }

TEST_F(ParamMapFormat, AnHttpMapWithEverything) {
  EXPECT_EQ(format_entry(kHttp, {{80, "\0\0\0\1\0\0\0\1\0\0\0\1\0\0\0\1\0\0\x10\0\0\0\x20\0,;/&"s}}),
            printed("\n\n Parameter-map : m\n"
                    " Type : http\n"
                    "    server-side connection reuse       : enabled\n"
                    "    case-insensitive parsing:          : enabled\n"
                    "    persistence-rebalance              : enabled\n"
                    "    header-maxparse-length             : 4096\n"
                    "    content-maxparse-length            : 8192\n"
                    "    parse length-exceed action         : continue\n"
                    "    urlcookie-delimiters               : ,;/&\n"));
}

TEST_F(ParamMapFormat, EveryHttpSwitch) {
  const std::vector<Row> rows = {
      {{{80, ""}}, 2, "    server-side connection reuse       : enabled"},
      {{{84, ""}}, 3, "    case-insensitive parsing:          : enabled"},  // a colon of its own
      {{{88, ""}}, 4, "    persistence-rebalance              : enabled"},
      {{{92, ""}}, 7, "    parse length-exceed action         : continue"},
  };
  for (const Row& row : rows) {
    for (const std::string& word : kNonzeroWords) {
      EXPECT_EQ(format_entry(kHttp, {{row.bytes[0].offset, word}}), printed(replaced(kHttpLines, row.index, row.line)))
          << "offset " << row.bytes[0].offset << ", " << hex(word);
    }
  }
}

TEST_F(ParamMapFormat, EveryHttpNumber) {
  const std::vector<Row> rows = {
      {{{96, "\1\2\3\4"}}, 5, "    header-maxparse-length             : 16909060"},
      {{{96, "\x7f\xff\xff\xff"}}, 5, "    header-maxparse-length             : 2147483647"},
      {{{96, "\x80\0\0\0"s}}, 5, "    header-maxparse-length             : -2147483648"},
      {{{96, "\xff\xff\xff\xff"}}, 5, "    header-maxparse-length             : -1"},
      {{{100, "\1\2\3\4"}}, 6, "    content-maxparse-length            : 16909060"},
      {{{100, "\x80\0\0\0"s}}, 6, "    content-maxparse-length            : -2147483648"},
      {{{100, "\xff\xff\xff\xff"}}, 6, "    content-maxparse-length            : -1"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(format_entry(kHttp, row.bytes), printed(replaced(kHttpLines, row.index, row.line)));
  }
}

TEST_F(ParamMapFormat, HttpDelimiters) {
  const std::string label = "    urlcookie-delimiters               : ";
  const std::vector<Row> rows = {
      {{{104, "a"}}, 8, label + "a"},
      {{{104, "ab"}}, 8, label + "ab"},
      {{{104, "abc"}}, 8, label + "abc"},
      {{{104, "abcd"}}, 8, label + "abcd"},
      {{{104, "\0bcd"s}}, 8, label},
      {{{104, "a\0cd"s}}, 8, label + "a"},
      {{{104, "ab\0d"s}}, 8, label + "ab"},
      {{{104, "%s%n"}}, 8, label + "%s%n"},
      {{{104, "\xff\x01 #"}}, 8, label + "\xff\x01 #"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(format_entry(kHttp, row.bytes), printed(replaced(kHttpLines, row.index, row.line)));
  }
}

// There are four of them at most, whatever a page holds after them.
TEST_F(ParamMapFormat, HttpDelimitersWithoutAnEnd) {
  EXPECT_EQ(format_entry(kHttp, {{104, "abcd" + std::string(180, 'Z')}}),
            printed(replaced(kHttpLines, 8, "    urlcookie-delimiters               : abcd")));
}

// Neither the bytes before the type, nor those between the name and the settings, nor those after them are read.
TEST_F(ParamMapFormat, OtherBytesOfAnHttpMap) {
  EXPECT_EQ(format_entry(kHttp,
                         {{0, std::string(8, '\xff')}, {14, std::string(66, '\xff')}, {112, std::string(176, '\xff')}}),
            printed(kHttpLines));
}

// ---- ssl

const Lines kSslLines = {
    "\n\n Parameter-map : m",                           // 0
    " Type : ssl",                                      //
    "    version                            : all",     // 2
    "    close-protocol                     : strict",  //
};
const std::string kCipherList = "    Accepted cipher list:              ";

TEST_F(ParamMapFormat, AnSslMapWithoutACipherList) { EXPECT_EQ(format_entry(kSsl, {}), printed(kSslLines)); }

TEST_F(ParamMapFormat, EverySslChoice) {
  const std::vector<Row> rows = {
      {{{96, "\0\0\0\1"s}}, 2, "    version                            : SSL3"},
      {{{96, "\0\0\0\2"s}}, 2, "    version                            : TLS1"},
      {{{96, "\0\0\0\3"s}}, 2, "    version                            : all"},
      {{{96, "\1\0\0\0"s}}, 2, "    version                            : all"},
      {{{96, "\1\0\0\1"s}}, 2, "    version                            : all"},
      {{{96, "\xff\xff\xff\xff"s}}, 2, "    version                            : all"},
      {{{112, "\0\0\0\1"s}}, 3, "    close-protocol                     : none"},
      {{{112, "\0\0\0\2"s}}, 3, "    close-protocol                     : disabled"},
      {{{112, "\0\0\0\3"s}}, 3, "    close-protocol                     : strict"},
      {{{112, "\2\0\0\0"s}}, 3, "    close-protocol                     : strict"},
      {{{112, "\2\0\0\2"s}}, 3, "    close-protocol                     : strict"},
      {{{112, "\xff\xff\xff\xff"s}}, 3, "    close-protocol                     : strict"},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(format_entry(kSsl, rows[index].bytes), printed(replaced(kSslLines, rows[index].index, rows[index].line)))
        << "row " << index;
  }
}

TEST_F(ParamMapFormat, AllCiphersByTheirCodes) {
  EXPECT_EQ(format_entry(kSsl, {{80, "\0\0\0\1"s}, {84, "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c"}}),
            printed("\n\n Parameter-map : m\n"
                    " Type : ssl\n"
                    "    version                            : all\n"
                    "    close-protocol                     : strict\n"
                    "    Accepted cipher list:              \n"
                    "      RSA_WITH_RC4_128_MD5 (priority:1)\n"
                    "      RSA_WITH_RC4_128_SHA (priority:2)\n"
                    "      RSA_WITH_DES_CBC_SHA (priority:3)\n"
                    "      RSA_WITH_3DES_EDE_CBC_SHA (priority:4)\n"
                    "      RSA_WITH_AES_128_CBC_SHA (priority:5)\n"
                    "      RSA_WITH_AES_256_CBC_SHA (priority:6)\n"
                    "      RSA_EXPORT_WITH_RC4_40_MD5 (priority:7)\n"
                    "      RSA_EXPORT1024_WITH_RC4_56_MD5 (priority:8)\n"
                    "      RSA_EXPORT_WITH_DES40_CBC_SHA (priority:9)\n"
                    "      RSA_EXPORT1024_WITH_DES_CBC_SHA (priority:10)\n"
                    "      RSA_EXPORT1024_WITH_RC4_56_SHA (priority:11)\n"
                    "      RSA_ANY (priority:12)\n"));
}

TEST_F(ParamMapFormat, OnlyCiphersWithAPriority) {
  const std::array names = {"RSA_WITH_RC4_128_MD5",           "RSA_WITH_RC4_128_SHA",
                            "RSA_WITH_DES_CBC_SHA",           "RSA_WITH_3DES_EDE_CBC_SHA",
                            "RSA_WITH_AES_128_CBC_SHA",       "RSA_WITH_AES_256_CBC_SHA",
                            "RSA_EXPORT_WITH_RC4_40_MD5",     "RSA_EXPORT1024_WITH_RC4_56_MD5",
                            "RSA_EXPORT_WITH_DES40_CBC_SHA",  "RSA_EXPORT1024_WITH_DES_CBC_SHA",
                            "RSA_EXPORT1024_WITH_RC4_56_SHA", "RSA_ANY"};
  for (std::size_t code = 0; code < names.size(); ++code) {
    Lines lines = kSslLines;
    lines.push_back(kCipherList);
    lines.push_back("      "s + names[code] + " (priority:255)");
    EXPECT_EQ(format_entry(kSsl, {{80, "\0\0\0\1"s}, {84 + code, "\xff"}}), printed(lines)) << code;
  }
  // the order is that of the codes, not of the priorities
  Lines lines = kSslLines;
  lines.insert(lines.end(), {kCipherList, "      RSA_WITH_RC4_128_SHA (priority:128)", "      RSA_ANY (priority:1)"});
  EXPECT_EQ(format_entry(kSsl, {{80, "\0\0\0\1"s}, {85, "\x80"}, {95, "\1"}}), printed(lines));
}

TEST_F(ParamMapFormat, ACipherListOfNone) {
  Lines lines = kSslLines;
  lines.push_back(kCipherList);
  for (const std::string& word : kNonzeroWords) {
    EXPECT_EQ(format_entry(kSsl, {{80, word}}), printed(lines)) << hex(word);
  }
}

TEST_F(ParamMapFormat, PrioritiesWithoutACipherListAreNotShown) {
  EXPECT_EQ(format_entry(kSsl, {{84, std::string(12, '\1')}}), printed(kSslLines));
}

TEST_F(ParamMapFormat, OtherBytesOfAnSslMap) {
  EXPECT_EQ(format_entry(kSsl, {{0, std::string(8, '\xff')},
                                {14, std::string(66, '\xff')},
                                {100, std::string(12, '\xff')},
                                {116, std::string(172, '\xff')}}),
            printed(kSslLines));
}

// ---- connection

const Lines kConnectionLines = {
    "\n\n Parameter-map : m",                             // 0
    " Type : connection",                                 //
    "   nagle                              enabled",      // 2
    "   slow start                         enabled",      //
    "    client keepalive                   : enabled",   // 4
    "    rx side buffer-share size          : 0",         //
    "    tx side buffer-share size          : 0",         // 6
    "    inactivity timeout (in seconds)    : 0",         //
    "    embryonic timeout (in seconds)     : 0",         // 8
    "    half-closed timeout (in seconds)   : 0",         //
    "    TOS rewrite                        : disabled",  // 10
    "    queue-limit                        : 0",         //
    "    syn retry count                    : 0",         // 12
    "    TCP MSS min                        : 0",         //
    "    TCP MSS max                        : 0",         // 14
    "    tcp-options drop range             : 0-0",       //
    "    tcp-options allow range            : 0-0",       // 16
    "    tcp-options clear range            : 0-0",       //
    "    selective-ack                      : allow",     // 18
    "    timestamp                          : allow",     //
    "    window-scale                       : allow",     // 20
    "    reserved-bits                      : allow",     //
    "    random-seq-num                     : enabled",   // 22
    "    SYN data                           : allow",     //
    "    exceed-mss                         : allow",     // 24
    "    urgent-flag                        : allow",     //
};

TEST_F(ParamMapFormat, AConnectionMapOfZeros) { EXPECT_EQ(format_entry(kConnection, {}), printed(kConnectionLines)); }

TEST_F(ParamMapFormat, AConnectionMapWithEverything) {
  const std::string settings =
      "\x00\x00\x00\x01"    //   4 half-closed timeout
      "\x00\x00\x00\x02"    //   8 receive share
      "\x00\x00\x00\x03"    //  12
      "\x00\x00\x00\x04"    //  16 nagle
      "\x00\x00\x00\x05"    //  20 embryonic timeout
      "\x00\x00\x00\x06"    //  24 transmit share
      "\x00\x00\x00\x07"    //  28 slow start
      "\x00\x00\x00\x08"    //  32 client keepalive
      "\x00\x00\x00\x09"    //  36
      "\x00\x00\x00\x0a"    //  40 queue limit
      "\x00\x00\x00\x0b"    //  44 SYN retries
      "\x00\x00\x00\x0c"    //  48 maximum MSS
      "\x00\x00\x00\x0d"    //  52 minimum MSS
      "\x00\x00\x00\x0e"    //  56 range to allow
      "\x00\x00\x00\x0f"    //  60
      "\x00\x00\x00\x10"    //  64 range to clear
      "\x00\x00\x00\x11"    //  68
      "\x00\x00\x00\x12"    //  72 range to drop
      "\x00\x00\x00\x13"    //  76
      "\x00\x00\x00\x14"    //  80
      "\x00\x00\x00\x01"    //  84 selective-ack
      "\x00\x00\x00\x01"    //  88 timestamp
      "\x00\x00\x00\x01"    //  92 window-scale
      "\x00\x00\x00\x02"    //  96 reserved bits
      "\x00\x00\x00\x01"    // 100 random sequence numbers
      "\x00\x00\x00\x01"    // 104 SYN data
      "\x00\x00\x00\x01"    // 108 exceed-MSS
      "\x00\x00\x00\x01"    // 112 urgent flag
      "\x00\x00\x00\x15"    // 116
      "\x00\x00\x00\x16"    // 120
      "\x00\x00\x00\x01"    // 124 TOS rewrite
      "\x17\x18\x19\x1a"    // 128 its value, one byte
      "\x00\x00\x00\x1b"    // 132 inactivity timeout
      "\x00\x00\x00\x1c"s;  // 136
  EXPECT_EQ(format_entry(kConnection, {{80, settings}}), printed("\n\n Parameter-map : m\n"
                                                                 " Type : connection\n"
                                                                 "    nagle                              : disabled\n"
                                                                 "    slow start                         : disabled\n"
                                                                 "    client keepalive                   : disabled\n"
                                                                 "    rx side buffer-share size          : 2\n"
                                                                 "    tx side buffer-share size          : 6\n"
                                                                 "    inactivity timeout (in seconds)    : 27\n"
                                                                 "    embryonic timeout (in seconds)     : 5\n"
                                                                 "    half-closed timeout (in seconds)   : 1\n"
                                                                 "    TOS rewrite value                  : 23\n"
                                                                 "    queue-limit                        : 10\n"
                                                                 "    syn retry count                    : 11\n"
                                                                 "    TCP MSS min                        : 13\n"
                                                                 "    TCP MSS max                        : 12\n"
                                                                 "    tcp-options drop range             : 18-19\n"
                                                                 "    tcp-options allow range            : 14-15\n"
                                                                 "    tcp-options clear range            : 16-17\n"
                                                                 "    selective-ack                      : clear\n"
                                                                 "    timestamp                          : clear\n"
                                                                 "    window-scale                       : clear\n"
                                                                 "    reserved-bits                      : drop\n"
                                                                 "    random-seq-num                     : disabled\n"
                                                                 "    SYN data                           : drop\n"
                                                                 "    exceed-mss                         : drop\n"
                                                                 "    urgent-flag                        : clear\n"));
}

TEST_F(ParamMapFormat, EveryConnectionSwitch) {
  const std::vector<Row> rows = {
      {{{92, ""}}, 2, "    nagle                              : disabled"},
      {{{104, ""}}, 3, "    slow start                         : disabled"},
      {{{108, ""}}, 4, "    client keepalive                   : disabled"},
      {{{160, ""}}, 18, "    selective-ack                      : clear"},
      {{{164, ""}}, 19, "    timestamp                          : clear"},
      {{{168, ""}}, 20, "    window-scale                       : clear"},
      {{{176, ""}}, 22, "    random-seq-num                     : disabled"},
      {{{180, ""}}, 23, "    SYN data                           : drop"},
      {{{184, ""}}, 24, "    exceed-mss                         : drop"},
      {{{188, ""}}, 25, "    urgent-flag                        : clear"},
      {{{200, ""}}, 10, "    TOS rewrite value                  : 0"},
  };
  for (const Row& row : rows) {
    for (const std::string& word : kNonzeroWords) {
      EXPECT_EQ(format_entry(kConnection, {{row.bytes[0].offset, word}}),
                printed(replaced(kConnectionLines, row.index, row.line)))
          << "offset " << row.bytes[0].offset << ", " << hex(word);
    }
  }
}

TEST_F(ParamMapFormat, ReservedBits) {
  const std::vector<Row> rows = {
      {{{172, "\0\0\0\1"s}}, 21, "    reserved-bits                      : clear"},
      {{{172, "\0\0\0\2"s}}, 21, "    reserved-bits                      : drop"},
      {{{172, "\0\0\0\3"s}}, 21, "    reserved-bits                      : allow"},
      {{{172, "\1\0\0\0"s}}, 21, "    reserved-bits                      : allow"},
      {{{172, "\0\0\1\1"s}}, 21, "    reserved-bits                      : allow"},
      {{{172, "\xff\xff\xff\xff"s}}, 21, "    reserved-bits                      : allow"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(format_entry(kConnection, row.bytes), printed(replaced(kConnectionLines, row.index, row.line)));
  }
}

TEST_F(ParamMapFormat, EveryConnectionNumber) {
  const std::vector<Row> rows = {
      // shares have signs
      {{{84, "\1\2\3\4"}}, 5, "    rx side buffer-share size          : 16909060"},
      {{{84, "\x80\0\0\0"s}}, 5, "    rx side buffer-share size          : -2147483648"},
      {{{84, "\xff\xff\xff\xff"}}, 5, "    rx side buffer-share size          : -1"},
      {{{100, "\1\2\3\4"}}, 6, "    tx side buffer-share size          : 16909060"},
      {{{100, "\xff\xff\xff\xff"}}, 6, "    tx side buffer-share size          : -1"},
      // the rest has none
      {{{208, "\1\2\3\4"}}, 7, "    inactivity timeout (in seconds)    : 16909060"},
      {{{208, "\xff\xff\xff\xff"}}, 7, "    inactivity timeout (in seconds)    : 4294967295"},
      {{{96, "\1\2\3\4"}}, 8, "    embryonic timeout (in seconds)     : 16909060"},
      {{{96, "\xff\xff\xff\xff"}}, 8, "    embryonic timeout (in seconds)     : 4294967295"},
      {{{80, "\1\2\3\4"}}, 9, "    half-closed timeout (in seconds)   : 16909060"},
      {{{80, "\xff\xff\xff\xff"}}, 9, "    half-closed timeout (in seconds)   : 4294967295"},
      {{{116, "\1\2\3\4"}}, 11, "    queue-limit                        : 16909060"},
      {{{116, "\x80\0\0\0"s}}, 11, "    queue-limit                        : 2147483648"},
      {{{120, "\1\2\3\4"}}, 12, "    syn retry count                    : 16909060"},
      {{{120, "\xff\xff\xff\xff"}}, 12, "    syn retry count                    : 4294967295"},
      {{{128, "\1\2\3\4"}}, 13, "    TCP MSS min                        : 16909060"},
      {{{128, "\xff\xff\xff\xff"}}, 13, "    TCP MSS min                        : 4294967295"},
      {{{124, "\1\2\3\4"}}, 14, "    TCP MSS max                        : 16909060"},
      {{{124, "\xff\xff\xff\xff"}}, 14, "    TCP MSS max                        : 4294967295"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(format_entry(kConnection, row.bytes), printed(replaced(kConnectionLines, row.index, row.line)));
  }
}

// The low end is shown without a sign, the high end with one.
TEST_F(ParamMapFormat, TcpOptionRanges) {
  const std::vector<Row> rows = {
      {{{148, "\1\2\3\4"}}, 15, "    tcp-options drop range             : 16909060-0"},
      {{{152, "\1\2\3\4"}}, 15, "    tcp-options drop range             : 0-16909060"},
      {{{148, "\xff\xff\xff\xff\xff\xff\xff\xff"}}, 15, "    tcp-options drop range             : 4294967295--1"},
      {{{132, "\1\2\3\4"}}, 16, "    tcp-options allow range            : 16909060-0"},
      {{{136, "\1\2\3\4"}}, 16, "    tcp-options allow range            : 0-16909060"},
      {{{132, "\x80\0\0\0\x80\0\0\0"s}}, 16, "    tcp-options allow range            : 2147483648--2147483648"},
      {{{140, "\1\2\3\4"}}, 17, "    tcp-options clear range            : 16909060-0"},
      {{{144, "\1\2\3\4"}}, 17, "    tcp-options clear range            : 0-16909060"},
      {{{140, "\xff\xff\xff\xff\xff\xff\xff\xff"}}, 17, "    tcp-options clear range            : 4294967295--1"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(format_entry(kConnection, row.bytes), printed(replaced(kConnectionLines, row.index, row.line)));
  }
}

TEST_F(ParamMapFormat, TheTosValueIsOneByte) {
  const std::vector<Row> rows = {
      {{{200, "\0\0\0\1\x2c\0\0\0"s}}, 10, "    TOS rewrite value                  : 44"},
      {{{200, "\0\0\0\1\xff\0\0\0"s}}, 10, "    TOS rewrite value                  : 255"},
      {{{200, "\1\0\0\0\0\xff\xff\xff"s}}, 10, "    TOS rewrite value                  : 0"},
      {{{200, "\0\0\0\0\x2c\0\0\0"s}}, 10, "    TOS rewrite                        : disabled"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(format_entry(kConnection, row.bytes), printed(replaced(kConnectionLines, row.index, row.line)));
  }
}

TEST_F(ParamMapFormat, OtherBytesOfAConnectionMap) {
  EXPECT_EQ(format_entry(kConnection, {{0, std::string(8, '\xff')},
                                       {14, std::string(66, '\xff')},
                                       {88, std::string(4, '\xff')},
                                       {112, std::string(4, '\xff')},
                                       {156, std::string(4, '\xff')},
                                       {192, std::string(8, '\xff')},
                                       {205, std::string(3, '\xff')},
                                       {212, std::string(76, '\xff')}}),
            printed(kConnectionLines));
}

// ---- cipher names

class CipherName : public PluginTest {
 protected:
  static constexpr std::size_t kBufferSize = 80;

  // What `code` makes of a buffer full of 0xa5; the buffer has to come back, and nothing else may happen.
  std::string named(std::uint32_t code) {
    auto* function = exported<char*(std::uint32_t, char*)>("pm_format_ssl_cipher_str");
    if (function == nullptr) return {};
    std::string buffer(kBufferSize, '\xa5');
    host.begin();
    EXPECT_EQ(function(code, buffer.data()), buffer.data());
    EXPECT_EQ(host.end(), Events{});
    return buffer;
  }
};

// A name fills the 64 bytes of its bound; what lies after them stays.
TEST_F(CipherName, OfEveryCode) {
  const std::array names = {
      "RSA_WITH_RC4_128_MD5",             // 0
      "RSA_WITH_RC4_128_SHA",             //
      "RSA_WITH_DES_CBC_SHA",             // 2
      "RSA_WITH_3DES_EDE_CBC_SHA",        //
      "RSA_WITH_AES_128_CBC_SHA",         // 4
      "RSA_WITH_AES_256_CBC_SHA",         //
      "RSA_EXPORT_WITH_RC4_40_MD5",       // 6
      "RSA_EXPORT1024_WITH_RC4_56_MD5",   //
      "RSA_EXPORT_WITH_DES40_CBC_SHA",    // 8
      "RSA_EXPORT1024_WITH_DES_CBC_SHA",  //
      "RSA_EXPORT1024_WITH_RC4_56_SHA",   // 10
      "RSA_ANY",                          //
  };
  for (std::uint32_t code = 0; code < names.size(); ++code) {
    EXPECT_EQ(named(code), field(names[code], 64) + std::string(16, '\xa5')) << code;
  }
}

TEST_F(CipherName, OtherCodesLeaveTheBufferAlone) {
  for (std::uint32_t code : {12U, 13U, 15U, 16U, 255U, 256U, 0x00010000U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(named(code), std::string(80, '\xa5')) << code;
  }
}

}  // namespace
}  // namespace kvel::cli::test::param_map_format_test
