// SSL-proxy services: creation and deletion, and their members.
#include <utility>

#include "kvel/keywords.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

namespace {

using namespace pattern;

// One member for each command: the handler takes the first that is named. `member` is that of the service's record.
void declare_member(GrammarBuilder& grammar, std::string_view member, Pattern what, Pattern named) {
  grammar.command(kSslProxyMode, sequence(std::move(what), std::move(named).binds("name")))
      .calls(KVEL_HANDLER(sslproxy_submode_config))
      .negatable()
      .records(member);
}

}  // namespace

void declare_ssl_proxies(GrammarBuilder& grammar) {
  grammar.mode(kSslProxyMode, "config-ssl-proxy", "SSL-proxy mode");
  grammar
      .command(kConfigMode,
               sequence(word("ssl-proxy", "SSL-proxy services: key, certificate and settings of SSL sessions"),
                        word("service", "An SSL-proxy service"),
                        name("NAME", "Name of the service", kw::ssl_proxy_name, KVEL_HOOK(sslproxy_completionhook))))
      .calls(KVEL_HANDLER(sslproxy_config))
      .negatable()
      .opens(kSslProxyMode, {kw::ssl_proxy_name});

  declare_member(grammar, "key", word("key", "The private key"), name("NAME", "Name of the key", kw::ssl_proxy_key));
  declare_member(grammar, "certificate", word("certificate", "The certificate of that key"),
                 name("NAME", "Name of the certificate", kw::ssl_proxy_certificate));
  declare_member(grammar, "chain_group", word("chain-group", "The certificates of the issuers"),
                 name("NAME", "Name of the chain group", kw::ssl_proxy_chain_group));
  declare_member(grammar, "parameter_map", word("parameter-map", "Settings of the sessions"),
                 name("NAME", "Name of the SSL parameter-map", kw::ssl_proxy_parameters,
                      KVEL_HOOK(kvelparammap_ssl_completionhook)));
}

}  // namespace kvel::shell
