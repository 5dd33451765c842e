// Packs the keywords that a handler has to skip into as few commands as their length allows.
#include "tests/cli/unlisted_keywords.h"

#include <algorithm>
#include <iterator>

namespace kvel::cli::test {
namespace {

constexpr std::uint32_t kHighestOfTheGrammar = 2047;
constexpr std::size_t kInOneCommand = 200;

}  // namespace

std::vector<UnlistedKeywords> unlisted_keywords(const Tokens& first, const std::set<std::uint32_t>& listed) {
  std::set<std::uint32_t> candidates = {0x7fffffff, 0x80000000, 0xffffffff};
  for (std::uint32_t id = 0; id <= kHighestOfTheGrammar; ++id)
    candidates.insert(id);
  for (std::uint32_t id : listed)
    candidates.insert({id + 0x00010000, id + 0x80000000, id << 8, id << 16, id << 24});
  std::vector<std::uint32_t> ids;
  std::set_difference(candidates.begin(), candidates.end(), listed.begin(), listed.end(), std::back_inserter(ids));

  std::vector<UnlistedKeywords> commands;
  for (std::size_t start = 0; start < ids.size(); start += kInOneCommand) {
    const std::size_t end = std::min(start + kInOneCommand, ids.size());
    UnlistedKeywords command = {"keywords " + std::to_string(ids[start]) + " to " + std::to_string(ids[end - 1]),
                                first};
    for (std::size_t index = start; index < end; ++index)
      command.tokens.emplace_back(ids[index]);
    commands.push_back(std::move(command));
  }
  return commands;
}

}  // namespace kvel::cli::test
