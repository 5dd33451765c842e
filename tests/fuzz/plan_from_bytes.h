// A plan of a statistics stream out of a fuzzer's bytes: every input is a well-formed stream.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include "tests/cli/planned_stream.h"

namespace kvel::fuzz {

[[nodiscard]] cli::test::stream::Plan any_plan(FuzzedDataProvider& bytes);

}  // namespace kvel::fuzz
