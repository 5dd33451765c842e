// "show ssl-proxy".
#include "shell/configuration/show_ssl_proxy.h"

#include "kvel/host.h"
#include "output/output.h"
#include "shell/configuration/show_objects.h"
#include "shell/configuration/ssl_proxy_commands.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

namespace {

// As it is typed; what no command can create is shown as it is stored.
void print_text(const Grammar& grammar, const ObjectRecord& service) {
  for (const ConfigCommand& command : ssl_proxy_commands(grammar, service)) {
    const auto line = render(grammar, command);
    if (!line) {
      output::text("  " + service.dump());
    } else {
      output::text(command.mode == kSslProxyMode ? "  " + *line : *line);
    }
  }
}

void print_ssl_proxy(const Grammar& grammar, const ObjectRecord& service) {
  if (output::format() == output::Format::text) {
    print_text(grammar, service);
    return;
  }
  output::open_element("ssl-proxy");
  print_settings(service, {}, {});
  output::close_element("ssl-proxy");
}

constexpr ShownKind kSslProxies{KVEL_DOMAIN_SSL_PROXY, "ssl_proxies", print_ssl_proxy};

}  // namespace

tl::expected<void, CallFailure> show_ssl_proxy(const Grammar& grammar, int context, const std::string& name) {
  return show_objects(grammar, context, name, kSslProxies);
}

}  // namespace kvel::shell
