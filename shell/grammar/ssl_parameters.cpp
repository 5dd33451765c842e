// The settings of SSL parameter-maps: ciphers, version and the end of a session.
#include <array>
#include <string_view>

#include "kvel/keywords.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/parameter_settings.h"

namespace kvel::shell {

namespace {

using namespace pattern;

constexpr std::uint32_t kHighestPriority = 255;
constexpr std::uint32_t kUsualPriority = 1;

const ParameterMapType& ssl_type() { return kParameterMapTypes[2]; }

struct Cipher {
  std::string_view word;
  std::string_view help;
  KeywordId keyword;
  std::uint32_t code;
};

// The codes do not go with the keywords.
constexpr std::array kCiphers{
    Cipher{"rsa-with-rc4-128-md5", "RC4 with 128 bits and MD5", kw::ssl_cipher_rsa_with_rc4_128_md5, 0},
    Cipher{"rsa-with-rc4-128-sha", "RC4 with 128 bits and SHA-1", kw::ssl_cipher_rsa_with_rc4_128_sha, 1},
    Cipher{"rsa-with-des-cbc-sha", "DES and SHA-1", kw::ssl_cipher_rsa_with_des_cbc_sha, 2},
    Cipher{"rsa-with-3des-ede-cbc-sha", "Triple DES and SHA-1", kw::ssl_cipher_rsa_with_3des_ede_cbc_sha, 3},
    Cipher{"rsa-with-aes-128-cbc-sha", "AES with 128 bits and SHA-1", kw::ssl_cipher_rsa_with_aes_128_cbc_sha, 4},
    Cipher{"rsa-with-aes-256-cbc-sha", "AES with 256 bits and SHA-1", kw::ssl_cipher_rsa_with_aes_256_cbc_sha, 5},
    Cipher{"rsa-export-with-rc4-40-md5", "RC4 with 40 bits and MD5", kw::ssl_cipher_rsa_export_with_rc4_40_md5, 6},
    Cipher{"rsa-export1024-with-rc4-56-md5", "RC4 with 56 bits and MD5", kw::ssl_cipher_rsa_export1024_with_rc4_56_md5,
           7},
    Cipher{"rsa-export-with-des40-cbc-sha", "DES with 40 bits and SHA-1", kw::ssl_cipher_rsa_export_with_des40_cbc_sha,
           8},
    Cipher{"rsa-export1024-with-des-cbc-sha", "DES and SHA-1, keys of 1024 bits",
           kw::ssl_cipher_rsa_export1024_with_des_cbc_sha, 9},
    Cipher{"rsa-export1024-with-rc4-56-sha", "RC4 with 56 bits and SHA-1",
           kw::ssl_cipher_rsa_export1024_with_rc4_56_sha, 10},
};

Pattern ciphers() {
  Pattern result = choice();
  for (const Cipher& row : kCiphers)
    result.parts.push_back(word(row.word, row.help, row.keyword).binds_code("code", row.code));
  return result;
}

void declare_numbered(ParameterSettings& settings, std::string_view kind, KeywordId keyword) {
  settings.numbered(kind, sequence(word(kind, "The setting of that number"),
                                   number(0, kHighestSetting, "Its value", keyword).binds("value")));
}

}  // namespace

void declare_ssl_parameters(GrammarBuilder& grammar) {
  ParameterSettings settings(grammar, ssl_type());
  settings.setting(
      "cipher",
      sequence(
          word("cipher", "Accept a cipher suite"), ciphers(),
          optional(
              word("priority", "Priority among the cipher suites"),
              number(1, kHighestPriority, "Priority; 1 when left out", kw::ssl_cipher_priority).binds("priority"))),
      {{"priority", kUsualPriority}});
  settings.valued("version", word("version", "Which versions of the protocol are accepted", kw::ssl_version),
                  choice(word("all", "Every version", kw::ssl_version_all).binds("version", "all"),
                         word("ssl3", "SSL version 3", kw::ssl_version_ssl3).binds("version", "ssl3"),
                         word("tls1", "TLS version 1", kw::ssl_version_tls1).binds("version", "tls1")));
  settings.valued(
      "close-protocol",
      word("close-protocol", "How the peer is notified of the end of a session", kw::ssl_close_protocol),
      choice(word("strict", "Notify the peer and wait for its answer", kw::ssl_close_strict).binds("mode", "strict"),
             word("none", "Notify the peer without waiting for its answer", kw::ssl_close_none).binds("mode", "none"),
             word("disabled", "Do not notify the peer", kw::ssl_close_disabled).binds("mode", "disabled")));
  declare_numbered(settings, "setting-956", kw::ssl_setting_956);
  declare_numbered(settings, "setting-963", kw::ssl_setting_963);
  declare_numbered(settings, "setting-964", kw::ssl_setting_964);
}

}  // namespace kvel::shell
