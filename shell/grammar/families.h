// The one list of the command families. A family is a file that declares its modes and forms in a function named here.
#pragma once

#include <array>

#include "shell/grammar/grammar.h"

namespace kvel::shell {

void declare_shell_commands(GrammarBuilder& grammar);  // shell_commands.cpp; declares the top mode too
void declare_class_maps(GrammarBuilder& grammar);      // class_map.cpp

inline constexpr std::array kFamilies{declare_shell_commands, declare_class_maps};

}  // namespace kvel::shell
