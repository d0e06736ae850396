#include "real_lists.h"

#include <ruleset.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <unordered_set>
#include <utility>

#include "random.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

struct ClosePipe {
    void operator()(std::FILE* file) const { pclose(file); }
};

std::string bytesOfCommand(const std::string& command) {
    const std::unique_ptr<std::FILE, ClosePipe> pipe(popen(command.c_str(), "r"));
    std::string bytes;
    std::array<char, 65'536> block{};
    size_t length = 0;
    while (pipe && (length = std::fread(block.data(), 1, block.size(), pipe.get())) > 0) {
        bytes.append(block.data(), length);
    }
    return bytes;
}

std::string bytesOfFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void addLines(const std::string& bytes, TextList& lines) {
    for (size_t begin = 0; begin < bytes.size();) {
        const size_t end = std::min(bytes.find('\n', begin), bytes.size());
        if (end != begin) {
            lines.add(std::string_view(bytes).substr(begin, end - begin));
        }
        begin = end + 1;
    }
}

// The first two columns of a line, as texts.
std::pair<std::string, std::string> endsOf(std::string_view line) {
    const size_t first = line.find(',');
    const size_t second = line.find(',', first + 1);
    return {std::string(line.substr(0, first)),
            std::string(line.substr(first + 1, second - first - 1))};
}

bool readAddress(const std::string& text, Ipv4& address) {
    uint32_t bytes = 0;
    const bool isRead = inet_pton(AF_INET, text.c_str(), &bytes) == 1;
    address = ntohl(bytes);
    return isRead;
}

bool readAddress(const std::string& text, Ipv6& address) {
    Ipv6Bytes bytes{};
    const bool isRead = inet_pton(AF_INET6, text.c_str(), bytes.data()) == 1;
    address = addressOf(bytes);
    return isRead;
}

template <typename Address>
Intervals<Address> readRanges(const std::string& directory,
                              std::initializer_list<const char*> files) {
    Intervals<Address> ranges;
    for (const char* file : files) {
        const TextList lines = readLines(directory, file);
        for (size_t i = 0; i < lines.size(); ++i) {
            const auto [first, last] = endsOf(lines[i]);
            Interval<Address> range{};
            if (readAddress(first, range.first) && readAddress(last, range.last)) {
                ranges.push_back(range);
            }
        }
    }
    return ranges;
}

struct Prefix {
    Ipv6 address;
    uint32_t length;
};

Ipv6 lastOf(const Prefix& prefix) {
    const uint64_t high = prefix.length >= 64 ? 0 : UINT64_MAX >> prefix.length;
    const uint64_t low = prefix.length <= 64    ? UINT64_MAX
                         : prefix.length == 128 ? 0
                                                : UINT64_MAX >> (prefix.length - 64);
    return {prefix.address.high | high, prefix.address.low | low};
}

// The largest prefix that begins a range.
Prefix firstPrefix(const Interval<Ipv6>& range) {
    const auto zeros =
        static_cast<uint32_t>(range.first.low != 0 ? std::countr_zero(range.first.low)
                                                   : 64 + std::countr_zero(range.first.high));
    Prefix prefix{range.first, 128 - zeros};
    while (range.last < lastOf(prefix)) {
        ++prefix.length;
    }
    return prefix;
}

void addPrefixes(Interval<Ipv6> range, std::vector<Prefix>& prefixes) {
    for (;;) {
        prefixes.push_back(firstPrefix(range));
        const Ipv6 last = lastOf(prefixes.back());
        if (last >= range.last) {
            return;
        }
        range.first = after(last);
    }
}

}  // namespace

TextList readLines(const std::string& directory, const std::string& file) {
    TextList lines;
    const fs::path plain = fs::path(directory) / file;
    const fs::path compressed = plain.string() + ".xz";
    if (directory.empty()) {
        return lines;
    }
    if (fs::exists(plain)) {
        addLines(bytesOfFile(plain), lines);
    } else if (fs::exists(compressed)) {
        addLines(bytesOfCommand("xz --decompress --stdout '" + compressed.string() + "'"), lines);
    }
    return lines;
}

RuleList makeRealIpv4Overlapping(uint32_t /*count*/, const std::string& directory) {
    RuleList list{RULE_TYPE_IP, {}, {}, {}};
    list.ipv4 = readRanges<Ipv4>(directory, {"ip4-asn-ranges.csv", "ip4-country-ranges.csv"});
    Random random(1);
    shuffle(list.ipv4, random);
    for (const Interval<Ipv4>& range : list.ipv4) {
        list.rules.add(textOf(range.first) + "-" + textOf(range.last));
    }
    return list;
}

RuleList makeRealIpv6Prefixes(uint32_t /*count*/, const std::string& directory) {
    std::vector<Prefix> prefixes;
    for (const Interval<Ipv6>& range :
         readRanges<Ipv6>(directory, {"ip6-asn-ranges.csv", "ip6-country-ranges.csv"})) {
        addPrefixes(range, prefixes);
    }
    Random random(2);
    shuffle(prefixes, random);
    RuleList list{RULE_TYPE_IP, {}, {}, {}};
    for (const Prefix& prefix : prefixes) {
        list.ipv6.push_back({prefix.address, lastOf(prefix)});
        list.rules.add(textOf(prefix.address) + "/" + std::to_string(prefix.length));
    }
    return list;
}

RuleList makeRealNames(uint32_t /*count*/, const std::string& directory) {
    std::vector<std::string> names;
    std::unordered_set<std::string> known;
    for (const char* file : {"hosts-blocklistproject.txt", "hosts-ph00lt0.txt",
                             "hosts-scam-gpl3.txt", "hosts-stevenblack.txt"}) {
        const TextList lines = readLines(directory, file);
        for (size_t i = 0; i < lines.size(); ++i) {
            std::string name = "*." + std::string(lines[i]);
            const auto length = static_cast<uint32_t>(name.size());
            if (rs_validateRule_FQDN(name.data(), length) == RULE_OK && known.insert(name).second) {
                names.push_back(std::move(name));
            }
        }
    }
    Random random(3);
    shuffle(names, random);
    RuleList list{RULE_TYPE_FQDN, {}, {}, {}};
    for (const std::string& name : names) {
        list.rules.add(name);
    }
    return list;
}

}  // namespace bench
