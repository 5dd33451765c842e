// "show version".
#include "shell/configuration/show_version.h"

#include "output/output.h"

namespace kvel::shell {

void show_version() {
  if (output::format() == output::Format::text) {
    output::text("kvel " KVEL_VERSION);
  } else {
    output::value("version", KVEL_VERSION);
  }
}

}  // namespace kvel::shell
