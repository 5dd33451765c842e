// How much of everything the tests of faults do: a short form with all other tests, a long one on demand.
#pragma once

namespace kvel::faults {

// KVEL_FAULTS=long in the environment.
[[nodiscard]] bool is_long();

template <class Number>
[[nodiscard]] Number short_or_long(Number in_short, Number in_long) {
  return is_long() ? in_long : in_short;
}

// The seed of a test's random numbers: KVEL_SEED, or else a fixed one. It is written out, so that a failure can be
// tried again.
[[nodiscard]] unsigned seed();

}  // namespace kvel::faults
