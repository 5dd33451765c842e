// Records as parts of a document of the output library.
#pragma once

#include <string>

#include "shell/configuration/objects.h"

namespace kvel::shell {

// One member: its name becomes the element's, an array as many elements of that name; values keep their types.
void print_member(const std::string& name, const ObjectRecord& value);

}  // namespace kvel::shell
