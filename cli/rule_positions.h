// Where the rules of a file start, and on which lines.
//
//     groups_    position 0     line 1     of the first rule of each 64
//                position 1674  line 70
//     offsets_   0 11 28 ...               from there to each of the 64, in 16 bits
//                0 9 31 ...
//     far_       0 ... 90000               all 64 in 64 bits, of a group that is too long for 16
//
// Cost: 2.25 bytes per rule, and 8 more in groups of 64 KiB of text or more. A position takes a step, and
//       so does a line when no line between two rules of its group is without a rule. Otherwise the
//       line ends of the group are counted.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace cli {

class RulePositions {
public:
    // Makes room for so many rules.
    void reserve(uint32_t count);

    // Positions and lines rise from rule to rule.
    void add(uint64_t position, uint64_t line);

    [[nodiscard]] uint32_t count() const { return static_cast<uint32_t>(offsets_.size()); }

    // Both take the place of a rule among those added, from 0. text is the file.
    [[nodiscard]] uint64_t position(uint32_t rule) const;
    [[nodiscard]] uint32_t line(uint32_t rule, std::string_view text) const;

private:
    static constexpr uint32_t GROUP_SIZE = 64;
    using FarPositions = std::array<uint64_t, GROUP_SIZE>;

    struct Group {
        uint64_t position;
        uint32_t line;
        uint32_t skipsLines : 1;
        uint32_t far : 31;  // a place in far_, counted from 1; 0 for none
    };
    static_assert(sizeof(Group) == 16);

    void makeFar(Group& group);

    std::vector<uint16_t> offsets_;
    std::vector<Group> groups_;
    std::vector<FarPositions> far_;
};

}  // namespace cli
