// The statistics stream that cm_show_service_policy answers, written page by page (docs/service-policies.md). A page
// is the record of the policy-map, the VLANs it is applied to, and classes. A class that is too long for a page of its
// own is cut between pieces: its translations, then the rules of its load balancing, then those of its HTTP inspection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "manager/configuration/configuration.h"
#include "manager/traffic/statistics_table.h"

namespace kvel::manager {

using StreamBytes = std::vector<std::byte>;

// One class as it is shown. It looks at the context and the statistics, which must not change while this lives.
class ClassStream {
 public:
  // With detail the rules of layer-7 policy-maps are shown.
  ClassStream(const Context& context, const StatisticsTable& statistics, const PolicyClass& shown, bool detail);

  // What can be cut, counted through.
  [[nodiscard]] std::uint32_t pieces() const;
  // Bytes of the class with the pieces from `first` to before `end`. Everything else of it comes with its first piece.
  [[nodiscard]] std::size_t size(std::uint32_t first, std::uint32_t end) const;
  // The end of the pieces from `first` on that fit into these bytes; `first` when none does.
  [[nodiscard]] std::uint32_t fit(std::uint32_t first, std::size_t bytes) const;
  void append(StreamBytes& out, std::uint32_t first, std::uint32_t end) const;

 private:
  // A group of actions. Of a translation group each translation is a piece, of the others each rule.
  struct Group {
    ActionGroup type = ActionGroup::security_acl;
    std::vector<const ActionStatistics*> statistics;  // of each translation, or one; null where nothing was counted
    std::vector<const PolicyAction*> translations;
    std::optional<std::string_view> layer7;  // the policy-map whose rules are shown
    std::vector<const PolicyClass*> rules;

    [[nodiscard]] std::uint32_t pieces() const {
      return static_cast<std::uint32_t>(type == ActionGroup::nat ? translations.size() : rules.size());
    }
  };
  // The part of a group that comes with some pieces of the class.
  struct Part {
    std::uint32_t first = 0;
    std::uint32_t end = 0;
    bool begins = false;  // this is where the class begins
    [[nodiscard]] std::uint32_t count() const { return end - first; }
    [[nodiscard]] bool is_shown() const { return begins || count() != 0; }
  };
  template <class Use>
  void for_each_part(std::uint32_t first, std::uint32_t end, const Use& use) const;
  void add_rules(const Context& context, Group& group, std::string_view policy);
  [[nodiscard]] static std::size_t part_size(const Group& group, const Part& part);
  void append_part(StreamBytes& out, const Group& group, const Part& part) const;

  const PolicyClass& shown_;
  std::vector<Group> groups_;
};

// A page under way.
class StatisticsPage {
 public:
  explicit StatisticsPage(const PolicyMapSettings& settings);

  // Adds a class, or of one that is cut the pieces from `first` on as far as they fit; of the first class of
  // a page some do in any case. Returns the end of what it took, or nothing when the class belongs on the next page.
  [[nodiscard]] std::optional<std::uint32_t> add(const ClassStream& shown, std::uint32_t first);

  // The finished bytes.
  [[nodiscard]] const StreamBytes& finish();

 private:
  StreamBytes bytes_;
  std::uint32_t classes_ = 0;
};

}  // namespace kvel::manager
