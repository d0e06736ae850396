// Lists of rules, and keys to look up in them: the same ones on every machine and in every run.
//
//   ipv4_hosts          10.1.2.3                      scattered over the whole family, no two alike
//   ipv6_hosts          2a03:1:2:3:a:b:c:d            likewise, in 2000::/3
//   ipv4_ranges         10.0.16.0-10.0.16.201         disjoint, one in each of as many cells
//   ipv4_overlapping    10.0.16.0-10.0.16.201         two layers of such ranges with cells of different sizes
//   ipv6_prefixes       2a03:1:20::/44                disjoint, one in each of as many cells
//   ip_port_ipv4 ...    10.1.2.3;443;*;*;1            hosts as first addresses of rules with two endpoints
//   ip_port_ranges      2a03::-2a03::ff;443;*;*;1     ranges likewise
//   names               *.kuramo.mail.deti.com        2 to 5 labels, many under a parent that others share
//   urls                kuramo.com/pola/dire.html     one rule in eight is for a host that has one already
//   urls_crowded        the same, and 3,000 paths of one host
//   real_...            real lists of a directory, as far as it has them
//
// Rules come in random order and carry the values 0 to 7 in turn, like the categories of a list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "addresses.h"

namespace bench {

inline constexpr uint32_t VALUE_COUNT = 8;
inline constexpr uint32_t CROWDED_HOST_PATHS = 3000;  // of urls_crowded; they are its first rules
inline constexpr uint32_t CROWDED_LIST = 10'000;      // the one size of urls_crowded

// Texts in one block of memory, so that ten million take no more than they must.
class TextList {
public:
    void add(std::string_view text) {
        bytes_.append(text);
        ends_.push_back(bytes_.size());
    }
    std::string_view operator[](size_t i) const {
        const size_t begin = i == 0 ? 0 : ends_[i - 1];
        return {bytes_.data() + begin, ends_[i] - begin};
    }
    size_t size() const { return ends_.size(); }

private:
    std::string bytes_;
    std::vector<size_t> ends_;
};

struct RuleList {
    int32_t type;  // RULE_TYPE_
    TextList rules;
    Intervals<Ipv4> ipv4;  // what each rule covers, when that is IPv4 addresses
    Intervals<Ipv6> ipv6;
};

struct ListKind {
    const char* name;
    RuleList (*make)(uint32_t count, const std::string& directory);
    bool isReal;  // of a directory; its size is what that has
};

// All kinds, in the order above.
std::span<const ListKind> listKinds();

// Null when there is none of the name.
const ListKind* findListKind(std::string_view name);

// Names and URLs as the lists have them, of a number: another seed gives other ones.
std::string makeName(uint64_t number, uint64_t seed);
std::string makePath(uint64_t number);

// The lines of a file in a directory, which may be compressed by xz; none when it is not there.
TextList readLines(const std::string& directory, const std::string& file);

}  // namespace bench
