#include "rule_positions.h"

#include <algorithm>

#include "lines.h"

namespace cli {

namespace {

uint32_t lineOf(uint64_t line) {
    return static_cast<uint32_t>(std::min<uint64_t>(line, UINT32_MAX));
}

}  // namespace

void RulePositions::reserve(uint32_t count) {
    offsets_.reserve(count);
    groups_.reserve(count / GROUP_SIZE + 1);
}

void RulePositions::add(uint64_t position, uint64_t line) {
    const uint32_t place = count() % GROUP_SIZE;
    if (place == 0) {
        groups_.push_back({position, lineOf(line), 0, 0});
    }
    Group& group = groups_.back();
    const uint64_t offset = position - group.position;
    if (line != uint64_t{group.line} + place) {
        group.skipsLines = 1;
    }
    if (offset > UINT16_MAX && group.far == 0) {
        makeFar(group);
    }
    if (group.far != 0) {
        far_[group.far - 1][place] = position;
    }
    offsets_.push_back(static_cast<uint16_t>(offset));
}

// Copies the positions of the last group, which has at least one rule.
void RulePositions::makeFar(Group& group) {
    const uint32_t first = count() - count() % GROUP_SIZE;
    FarPositions positions{};
    std::transform(offsets_.begin() + first, offsets_.end(), positions.begin(),
                   [&group](uint16_t offset) { return group.position + offset; });
    far_.push_back(positions);
    group.far = static_cast<uint32_t>(far_.size()) & 0x7FFFFFFFU;
}

uint64_t RulePositions::position(uint32_t rule) const {
    const Group& group = groups_[rule / GROUP_SIZE];
    return group.far == 0 ? group.position + offsets_[rule]
                          : far_[group.far - 1][rule % GROUP_SIZE];
}

uint32_t RulePositions::line(uint32_t rule, std::string_view text) const {
    const Group& group = groups_[rule / GROUP_SIZE];
    const uint64_t after =
        group.skipsLines == 0
            ? rule % GROUP_SIZE
            : countLineEnds(text.substr(group.position, position(rule) - group.position));
    return lineOf(group.line + after);
}

}  // namespace cli
