// "show parameter-map" as a document.
#include "shell/configuration/show_parameter_map.h"

#include "kvel/host.h"
#include "output/output.h"
#include "shell/configuration/parameter_map_commands.h"
#include "shell/configuration/show_objects.h"

namespace kvel::shell {

namespace {

void print_parameter_map(const Grammar& grammar, const ObjectRecord& parameter_map) {
  const ParameterMapType& type = parameter_type_of(parameter_map);
  output::open_element("parameter-map");
  print_settings(parameter_map, type.word, "settings");
  for (const ObjectRecord& setting : settings_of(parameter_map))
    print_part("setting", grammar, type.mode, setting.at("setting").get<std::string>(), setting);
  output::close_element("parameter-map");
}

constexpr ShownKind kParameterMaps{KVEL_DOMAIN_PARAMETER_MAP, "parameter_maps", print_parameter_map};

}  // namespace

tl::expected<void, CallFailure> show_parameter_map(const Grammar& grammar, int context, const std::string& name) {
  return show_objects(grammar, context, name, kParameterMaps);
}

}  // namespace kvel::shell
