// The settings of HTTP and of SSL parameter-maps. Neither handler checks a value; the backend does.
#include "cli/parammap/settings.h"

namespace kvel::cli::parammap {

namespace {

// clang-format off
using HttpKeywords = KeywordTable<
    On<Ids<kw::param_map_http_name>, Text<&SettingsRequest::name>>,
    On<Ids<kw::http_connection_reuse>, Set<kIn<Http::ConnectionReuse>, 1U>, Change<0x80000000>>,
    On<Ids<kw::http_case_insensitive>, Set<kIn<Http::CaseInsensitive>, 1U>, Change<0x40000000>>,
    On<Ids<kw::http_cookie_delimiters>, Change<0x02000000>>,
    On<Ids<kw::http_length_exceed>, Change<0x10000000>>,
    On<Ids<kw::http_content_max_parse>, Change<0x04000000>>,
    On<Ids<kw::http_length_exceed_drop>, Set<kIn<Http::LengthExceed>, 0U>>,
    On<Ids<kw::http_length_exceed_continue>, Set<kIn<Http::LengthExceed>, 1U>>,
    On<Ids<kw::http_persistence_rebalance>, Set<kIn<Http::PersistenceRebalance>, 1U>, Change<0x20000000>>,
    On<Ids<kw::http_header_max_parse>, Change<0x08000000>>,
    On<Ids<kw::http_cookie_delimiters_text>, Text<kIn<Http::CookieDelimiters>>>,
    On<Ids<kw::http_header_max_parse_length>, Number<kIn<Http::HeaderMaxParse>>>,
    On<Ids<kw::http_content_max_parse_length>, Number<kIn<Http::ContentMaxParse>>>>;

// A cipher has the priority 1 unless one is typed after it. The ids follow the grammar, the codes do not follow them.
constexpr std::uint32_t kCipherChange = 0x80000000;
template <std::uint32_t Id, std::uint32_t Cipher>
using CipherKeyword =
    On<Ids<Id>, Set<kIn<Ssl::Value>, Cipher>, Set<kIn<Ssl::CipherPriority>, 1U>, Change<kCipherChange>>;

struct SetPriority {
  static void apply(SettingsRequest& request, const CliToken& token) {
    request.settings.field<Ssl::CipherPriority>() = token_number(token) & 0xFFU;
  }
};

using SslKeywords = KeywordTable<
    On<Ids<kw::param_map_ssl_name>, Text<&SettingsRequest::name>>,
    CipherKeyword<kw::ssl_cipher_rsa_with_rc4_128_md5, 0>,
    CipherKeyword<kw::ssl_cipher_rsa_with_rc4_128_sha, 1>,
    CipherKeyword<kw::ssl_cipher_rsa_with_des_cbc_sha, 2>,
    CipherKeyword<kw::ssl_cipher_rsa_with_3des_ede_cbc_sha, 3>,
    CipherKeyword<kw::ssl_cipher_rsa_export_with_rc4_40_md5, 6>,
    CipherKeyword<kw::ssl_cipher_rsa_export_with_des40_cbc_sha, 8>,
    CipherKeyword<kw::ssl_cipher_rsa_export1024_with_rc4_56_md5, 7>,
    CipherKeyword<kw::ssl_cipher_rsa_export1024_with_des_cbc_sha, 9>,
    CipherKeyword<kw::ssl_cipher_rsa_export1024_with_rc4_56_sha, 10>,
    CipherKeyword<kw::ssl_cipher_rsa_with_aes_128_cbc_sha, 4>,
    CipherKeyword<kw::ssl_cipher_rsa_with_aes_256_cbc_sha, 5>,
    On<Ids<kw::ssl_cipher_priority>, SetPriority>,
    On<Ids<kw::ssl_version>, Change<0x40000000>>,
    On<Ids<kw::ssl_version_all, kw::ssl_close_strict>, Set<kIn<Ssl::Value>, 0U>>,
    On<Ids<kw::ssl_version_ssl3, kw::ssl_close_none>, Set<kIn<Ssl::Value>, 1U>>,
    On<Ids<kw::ssl_version_tls1, kw::ssl_close_disabled>, Set<kIn<Ssl::Value>, 2U>>,
    On<Ids<kw::ssl_setting_956>, Number<kIn<Ssl::Value>>, Change<0x20000000>>,
    On<Ids<kw::ssl_close_protocol>, Change<0x10000000>>,
    On<Ids<kw::ssl_setting_963>, Number<kIn<Ssl::Value>>, Change<0x08000000>>,
    On<Ids<kw::ssl_setting_964>, Number<kIn<Ssl::Value>>, Change<0x04000000>>>;
// clang-format on

template <class Keywords>
std::int32_t configure(const CliCommand* command, std::uint8_t type) {
  if (!bind_for_param_map()) return kObjectFailed;
  if (command->skip_execution != 0) return kDone;
  SettingsRequest request;
  Keywords::read(*command, request);
  return send_settings(command, request, type);
}

}  // namespace

}  // namespace kvel::cli::parammap

using namespace kvel::cli;
using namespace kvel::cli::parammap;

int32_t kvelparammap_config_http(const CliCommand* command) { return configure<HttpKeywords>(command, kHttp); }

int32_t kvelparammap_config_ssl(const CliCommand* command) { return configure<SslKeywords>(command, kSsl); }
