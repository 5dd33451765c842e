// An SSL-proxy service: the key, the certificate, the chain group and the parameter-map that SSL is spoken with.
#pragma once

#include <string>

#include "manager/model/field.h"

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

}  // namespace kvel::manager
