// An SSL-proxy service: the key, the certificate, the chain group and the parameter-map that SSL is spoken with.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "manager/model/field.h"
#include "manager/model/reference.h"

namespace kvel::manager {

// What the record of a service holds besides its name: names of objects, empty where there is none. Only the
// parameter-map is an object that is kept here.
struct SslProxySettings {
  std::string key;
  std::string certificate;
  std::string chain_group;
  std::string parameter_map;

  static constexpr auto fields(const auto& visit) {
    using Self = SslProxySettings;
    return visit(Field{"key", &Self::key, Presence::unless_default},
                 Field{"certificate", &Self::certificate, Presence::unless_default},
                 Field{"chain_group", &Self::chain_group, Presence::unless_default},
                 Field{"parameter_map", &Self::parameter_map, Presence::unless_default});
  }
  friend bool operator==(const SslProxySettings&, const SslProxySettings&) = default;
};

struct SslProxy {
  explicit SslProxy(SslProxySettings initial) : settings(std::move(initial)) {}

  SslProxySettings settings;
  Referenced references;
  Reference parameter_map;
  std::uint32_t made = 0;  // when it came: a number of Configuration::changed()
};

}  // namespace kvel::manager
