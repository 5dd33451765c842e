// The calls that show and clear what traffic was counted at service policies: policy-maps that are, or can be, applied
// to traffic (docs/service-policies.md).
#include "manager/service/calls.h"
#include "manager/service/fields.h"
#include "manager/service/statistics_stream.h"

namespace kvel::manager {
namespace {

// How far a walk over a policy-map has come, as it is kept in the position field.
struct WalkPosition {
  std::uint32_t change = 0;  // the last change of the configuration when the page was made; 0: no page yet
  std::uint32_t order = 0;   // the low half of PolicyMap::order
  std::uint64_t place = 0;   // of the last class shown
  std::uint32_t pieces = 0;  // how many of its pieces were shown; 0: it is complete
};

WalkPosition read_position(FixedRecord<PositionField::extent> field) {
  return {word_at<0>(field), word_at<4>(field), double_word_at<8>(field), word_at<16>(field)};
}

void put_position(PositionField field, const WalkPosition& position) {
  put_word(field.subspan<0, 4>(), position.change);
  put_word(field.subspan<4, 4>(), position.order);
  put_double_word(field.subspan<8, 8>(), position.place);
  put_word(field.subspan<16, 4>(), position.pieces);
}

// Walks over the classes of a policy-map that are shown: all, but class-default only when it has actions.
class ClassWalk {
 public:
  ClassWalk(const PolicyMap& policy, const WalkPosition& position)
      : class_default_(*policy.classes.class_default()),
        next_(position.pieces == 0 ? policy.classes.by_position().upper_bound(position.place)
                                   : policy.classes.by_position().lower_bound(position.place)) {
    const bool is_after = position.place == ClassList::kLastPosition && position.pieces == 0;
    is_default_left_ = !is_after && !class_default_.content.actions.empty();
  }

  // The class under the walk; null at its end.
  [[nodiscard]] const PolicyClass* current() const {
    if (next_ != ClassList::ByPosition::Iterator()) return next_.value().get();
    return is_default_left_ ? &class_default_ : nullptr;
  }
  void advance() {
    if (next_ != ClassList::ByPosition::Iterator()) {
      ++next_;
    } else {
      is_default_left_ = false;
    }
  }

 private:
  const PolicyClass& class_default_;
  ClassList::ByPosition::Iterator next_;
  bool is_default_left_ = false;
};

// The name of the one policy-map that is applied, or an empty one when none is.
tl::expected<std::string_view, Status> only_applied_policy(const Context& context) {
  std::string_view only;
  for (const auto& [name, policy] : context.policy_maps) {
    if (!policy->settings->application.anywhere()) continue;
    if (!only.empty()) return tl::unexpected(Status::policy_name_needed);
    only = name;
  }
  return only;
}

}  // namespace

Status Calls::show_service_policy(std::uint16_t context_number, std::string_view policy, std::uint32_t detail,
                                  PositionField position_field, WordField more, rpc::ResponseBuffer& response) {
  put_word(more, 0);
  if (detail > 1) return Status::bad_arguments;
  const Context& shown_context = context(context_number);
  if (policy.empty()) {
    const auto only = only_applied_policy(shown_context);
    if (!only) return only.error();
    if (only->empty()) return Status::ok;
    policy = *only;
  }
  WalkPosition position = read_position(position_field);
  const bool is_first_page = position.change == 0;
  const PolicyMap* const shown = shown_context.find<PolicyMap>(policy);
  if (shown == nullptr) return is_first_page ? Status::policy_map_not_found : Status::ok;
  if (!can_be_applied(shown->settings->type)) return Status::policy_not_applicable;
  const auto order = static_cast<std::uint32_t>(shown->order);
  if (!is_first_page) {
    // Another policy-map of the name, classes that moved, or a position of another process: nothing may be shown twice,
    // so the walk ends here.
    const bool is_ours = position.change >= first_change_ && position.change <= last_change_;
    if (!is_ours || position.order != order) return Status::ok;
    // The pieces of a class are counted, so that it is left as it is once anything has changed.
    if (position.change != last_change_) position.pieces = 0;
  }

  StatisticsPage page(*shown->settings);
  ClassWalk walk(*shown, position);
  for (; const PolicyClass* const entry = walk.current(); walk.advance()) {
    const ClassStream stream(shown_context, statistics_, *entry, detail == 1);
    const std::uint32_t first = entry->position == position.place ? position.pieces : 0;
    const auto end = page.add(stream, first);
    if (!end) break;
    position.place = entry->position;
    position.pieces = *end;
    if (*end != stream.pieces()) break;
    position.pieces = 0;
  }
  response.append(page.finish());
  if (walk.current() == nullptr) return Status::ok;
  position.change = last_change_;
  position.order = order;
  put_position(position_field, position);
  put_word(more, 1);
  return Status::more_data;
}

Status Calls::clear_service_policy(std::uint16_t context_number, std::string_view policy) {
  const auto clear = [this](const PolicyMap& cleared) {
    for (const auto& [position, entry] : cleared.classes)
      statistics_.clear(entry->number);
    statistics_.clear(cleared.classes.class_default()->number);
  };
  const Context& shown = context(context_number);
  if (policy.empty()) {
    for (const auto& [name, each] : shown.policy_maps)
      clear(*each);
    return Status::ok;
  }
  const PolicyMap* const cleared = shown.find<PolicyMap>(policy);
  if (cleared == nullptr) return Status::policy_map_not_found;
  if (!can_be_applied(cleared->settings->type)) return Status::policy_not_applicable;
  clear(*cleared);
  return Status::ok;
}

}  // namespace kvel::manager
