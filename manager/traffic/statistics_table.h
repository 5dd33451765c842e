// What was counted at the classes of policy-maps: beside the configuration, by the numbers of the classes. Counters
// stay through every change that leaves their class where it is, and go with it.
#pragma once

#include <map>

#include "manager/configuration/change.h"
#include "manager/model/statistics.h"

namespace kvel::manager {

class StatisticsTable {
 public:
  // Made when they are not there. They stay where they are in memory until their class goes.
  [[nodiscard]] ClassStatistics& at(Number number) { return classes_[number]; }
  // Null when nothing was counted yet.
  [[nodiscard]] const ClassStatistics* find(Number number) const {
    const auto found = classes_.find(number);
    return found == classes_.end() ? nullptr : &found->second;
  }
  // Of one class, if any: sets all but the levels to 0.
  void clear(Number number) noexcept;

  // Forgets what a change of the running configuration has taken away.
  void apply(const Change& change) noexcept;

 private:
  std::map<Number, ClassStatistics> classes_;
};

}  // namespace kvel::manager
