#include "keys.h"

#include <array>
#include <string_view>

namespace bench {
namespace {

std::string makeLabels(Random& random, uint64_t count) {
    constexpr std::array<const char*, 8> USUAL = {"www", "m",     "cdn", "static",
                                                  "a1",  "login", "img", "eu"};
    std::string labels;
    for (; count > 0; --count) {
        labels += std::string(USUAL[random.below(USUAL.size())]) + ".";
    }
    return labels;
}

constexpr std::string_view SCHEME = "http://";

}  // namespace

TextList nameHits(const TextList& rules, size_t count) {
    Random random(rules.size() + 3);
    TextList keys;
    for (size_t i = 0; i < count; ++i) {
        const std::string_view name = rules[random.below(rules.size())].substr(2);  // without "*."
        keys.add(makeLabels(random, random.between(1, 2)) + std::string(name));
    }
    return keys;
}

TextList nameMissCandidates(const TextList& benignNames, size_t count) {
    Random random(4);
    TextList keys;
    for (size_t i = 0; i < count; ++i) {
        const std::string name = benignNames.size() == 0
                                     ? makeName(random.below(1U << 20U), 2)
                                     : std::string(benignNames[random.below(benignNames.size())]);
        keys.add(makeLabels(random, random.below(3)) + name);
    }
    return keys;
}

TextList urlHits(const TextList& rules, size_t count) {
    Random random(rules.size() + 5);
    TextList keys;
    for (size_t i = 0; i < count; ++i) {
        std::string key = std::string(SCHEME) + std::string(rules[random.below(rules.size())]);
        if (random.below(2) == 0) {
            key += key.back() == '/' ? makePath(random.next()).substr(1)
                                     : "?id=" + std::to_string(random.below(10'000));
        }
        keys.add(key);
    }
    return keys;
}

TextList urlMissCandidates(const TextList& rules, size_t count) {
    Random random(6);
    TextList keys;
    for (size_t i = 0; i < count; ++i) {
        const std::string_view rule = rules[random.below(rules.size())];
        const bool isOtherHost = random.below(4) != 0;
        const std::string host = isOtherHost ? makeName(random.below(1U << 20U), 2)
                                             : std::string(rule.substr(0, rule.find('/')));
        keys.add(std::string(SCHEME) + host + makePath(random.next()));
    }
    return keys;
}

TextList asWritten(const TextList& names) {
    TextList written;
    for (size_t i = 0; i < names.size(); ++i) {
        std::string name(names[i]);
        const bool isLetter = name[0] >= 'a' && name[0] <= 'z';
        name[0] = static_cast<char>(isLetter && i % 16 == 0 ? name[0] - 'a' + 'A' : name[0]);
        written.add(name);
    }
    return written;
}

TextList inWireForm(const TextList& names) {
    TextList wire;
    for (size_t i = 0; i < names.size(); ++i) {
        std::string name = "." + std::string(names[i]);
        for (size_t dot = 0; dot < name.size();) {
            const size_t next = std::min(name.find('.', dot + 1), name.size());
            name[dot] = static_cast<char>(next - dot - 1);
            dot = next;
        }
        wire.add(name + '\0');
    }
    return wire;
}

}  // namespace bench
