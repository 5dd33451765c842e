// What the actions of several policy-map types share.
#pragma once

#include <string_view>

#include "shell/grammar/grammar.h"

namespace kvel::shell {

// "words NAME": attaches an object. Behind "no" the name may be left out, as a class has one such object.
FormDraft& declare_attachment(GrammarBuilder& grammar, std::string_view mode, const Pattern& words,
                              const Pattern& name);

}  // namespace kvel::shell
