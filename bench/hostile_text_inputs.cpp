// Rules and keys that are texts: host names and URLs.
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "hostile_families.h"
#include "random.h"

namespace bench {
namespace {

constexpr size_t LONGEST_HOST = 4095;  // of a rule; longer ones are refused earlier
constexpr size_t LONG_PATH = 4000;     // of a URL that is looked up

std::string letters(Random& random, size_t shortest, size_t longest) {
    std::string word(shortest + random.below(longest - shortest + 1), 'a');
    for (char& letter : word) {
        letter = static_cast<char>('a' + random.below(26));
    }
    return word;
}

std::string randomName(Random& random) {
    return letters(random, 4, 12) + "." + letters(random, 2, 8) + ".com";
}

// Labels without end, of so many bytes.
std::string randomLabels(size_t bytes) {
    Random random(bytes);
    std::string name;
    while (name.size() < bytes) {
        name += letters(random, 5, 20) + ".";
    }
    name.resize(bytes);
    return name;
}

std::string utf8Letter(uint32_t code) {
    return {static_cast<char>(0xC0U | code >> 6U), static_cast<char>(0x80U | (code & 0x3FU))};
}

// A label of letters that are all different: each costs the encoder of Punycode a pass over all letters.
std::string differentLetters(bool descending) {
    constexpr uint32_t FIRST = 0x5D0;
    constexpr uint32_t COUNT = 29;  // as many as an encoded label holds
    std::string label;
    for (uint32_t i = 0; i < COUNT; ++i) {
        label += utf8Letter(FIRST + (descending ? COUNT - 1 - i : i));
    }
    return label;
}

// A name whose labels are dear to encode in the first half and grow when they are encoded in the second.
std::string growingName(size_t bytes) {
    return filled(differentLetters(false) + ".", bytes / 2) + filled("\u00FC.", bytes / 2);
}

// ------------------------------------------------------------------------------------------------ host names

void randomNames(HostileInput& input) {
    Random random(2);
    std::string name;
    do {
        name = randomName(random);
        input.addTextKey(name);
    } while (input.add((random.below(4) == 0 ? "*." : "") + name));
}

void nulLabels(HostileInput& input) {
    std::string rule;
    uint32_t number = 0;
    do {
        rule = "*.";
        for (uint32_t label = 0; label < 5; ++label) {
            rule += std::string(1 + (number >> 3 * label & 7U), '\0') + ".";
        }
        ++number;
    } while (input.add(rule + "z"));
    input.addTextKey(repeated(std::string("\0.", 2), 126) + "z");
}

// Letters with dots between some of them, chosen by the bits of number.
std::string dottedName(uint32_t number) {
    std::string name;
    for (char letter = 'a'; letter < 't'; ++letter) {
        name += letter;
        if ((number & 1U) != 0) {
            name += '.';
        }
        number >>= 1U;
    }
    return name + 't';
}

void dottedNames(HostileInput& input) {
    uint32_t number = 0;
    for (; input.add(dottedName(number)); ++number) {
    }
    input.addTextKey(dottedName(number));
}

void sameSumNames(HostileInput& input) {
    Random random(3);
    std::vector<char> order(8);
    std::iota(order.begin(), order.end(), 'a');
    std::string name;
    do {
        shuffle(order, random);
        name = std::string(order.begin(), order.end()) + ".com";
        input.addTextKey(name);
    } while (input.add(name));
}

void growingNames(HostileInput& input) {
    constexpr size_t LONGEST = 6000;  // longer ones are refused earlier
    input.repeat(growingName(input.limit() < LONGEST ? input.limit() - 1 : LONGEST));
    input.addTextKey("a");
}

constexpr HostileFamily NAME_FAMILIES[] = {
    {"random", "names of three labels, a quarter of them with `*.`", "", randomNames},
    {"nul_labels",
     "`*.`, five labels of NUL bytes and `.z`; the name that is looked up has 126 such labels",
     "all names and all ends of the key have one hash, and the chain is walked for each end: the "
     "number of such names times the labels of the key",
     nulLabels},
    {"dotted_names", "`a.bc...t`: one row of letters with dots in other places",
     "the hash passes over dots, so all names are in one chain: the number of names with one hash",
     dottedNames},
    {"same_sum_names", "`abcdefgh.com` with the letters in any order",
     "the hash is nearly a sum, so that few chains hold them all: the number of names with one "
     "hash",
     sameSumNames},
    {"idn_growth_list",
     "names of 6,000 bytes: labels of 29 different letters, then `\u00FC.` again and again; all "
     "are refused",
     "each label is encoded again with more room, some 140 times for one name: the number of rules",
     growingNames},
};

// ------------------------------------------------------------------------------------------------ URLs

void randomUrls(HostileInput& input) {
    Random random(4);
    std::string url;
    do {
        url = randomName(random) + "/" + letters(random, 3, 9) + "/" + letters(random, 3, 9);
        input.addTextKey("http://" + url);
    } while (input.add(url));
}

void shortTails(HostileInput& input) {
    input.repeat("*/*aaaaaaab");
    input.addTextKey("a/" + std::string(LONG_PATH, 'a'));
}

void tailsOfOneBlock(HostileInput& input) {
    input.repeat("*/aaaaa*" + std::string(30, 'a') + "b");
    input.addTextKey("a/" + std::string(LONG_PATH, 'a'));
}

void pathsOfOneHost(HostileInput& input) {
    std::string tail;
    uint32_t number = 0;
    do {
        tail = number % 2 == 0 ? "*z" : std::string(1 + number % 30, 'a');
    } while (input.add("a.b/aaaaa" + tail + std::to_string(number++)));
    input.addTextKey("http://a.b/" + std::string(40, 'a'));
}

// All paths of three letters and digits, as far as they fit: a lookup cannot tell them apart by their first bytes.
void shortPathsOfOneHost(HostileInput& input) {
    constexpr std::string_view SIGNS = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr auto COUNT = static_cast<uint32_t>(SIGNS.size());
    for (uint32_t number = 0; number < COUNT * COUNT * COUNT; ++number) {
        const std::string path = {'/', SIGNS[number / COUNT / COUNT], SIGNS[number / COUNT % COUNT],
                                  SIGNS[number % COUNT]};
        if (!input.add("a.b" + path)) {
            break;
        }
        input.addTextKey("http://a.b" + path);
    }
}

void equalPaths(HostileInput& input) {
    input.repeat("a.b/cdefg");
    input.addTextKey("http://a.b/cdefg");
}

void schemesInTurn(HostileInput& input) {
    Random random(8);
    std::vector<char> order(8);
    std::iota(order.begin(), order.end(), 'a');
    std::string url;
    do {
        shuffle(order, random);
        url = std::string(order.begin(), order.end()) + ".com";
        input.addTextKey("http://" + url);
    } while (input.add("http://" + url) && input.add("https://" + url));
}

void starUrls(HostileInput& input) {
    input.repeat("*");
    input.addTextKey("http://a.b.c/");
}

void growingHosts(HostileInput& input) {
    input.repeat(growingName(LONGEST_HOST));
    input.addTextKey("a");
}

constexpr HostileFamily URL_FAMILIES[] = {
    {"random", "a host of three labels and a path of two names", "", randomUrls},
    {"tails_short", "`*/*aaaaaaab` again and again; the URL has a path of 4,000 times `a`",
     "the tail of each rule is searched in the whole path: the rules of one host times the bytes "
     "of the path",
     shortTails},
    {"tails_block", "`*/aaaaa*aaa...b` again and again; the same URL",
     "every path of a host that may cover is walked: the rules of one host times the bytes of the "
     "path",
     tailsOfOneBlock},
    {"paths_of_one_host", "`a.b/aaaaa*z0`, `a.b/aaaaaaa1` and so on",
     "every path of a host is walked: the number of paths of one host", pathsOfOneHost},
    {"short_paths", "`a.b/aaa`, `a.b/aab` and so on, each of which is looked up",
     "every path of less than five bytes is walked: the number of such paths of one host",
     shortPathsOfOneHost},
    {"equal_paths", "`a.b/cdefg` again and again",
     "every path of a host that begins like the URL's is walked: their number", equalPaths},
    {"star", "`*` again and again",
     "every rule for all hosts is walked, 256 bytes each: the number of rules", starUrls},
    {"same_sum_hosts", "`abcdefgh.com` with the letters in any order",
     "the hash is nearly a sum, so that few chains hold them all: the number of hosts with one "
     "hash",
     sameSumNames},
    {"schemes_in_turn", "the same hosts, each with `http://` and with `https://`",
     "the hosts of few chains are in blocks of one scheme, so of one host each: the number of "
     "hosts with one hash",
     schemesInTurn},
    {"idn_growth_list",
     "hosts of 4,095 bytes: labels of 29 different letters, then `\u00FC.` again and again; all "
     "are refused",
     "each label is encoded again with more room, some 140 times for one host: the number of rules",
     growingHosts},
};

// ------------------------------------------------------------------------------------------------ single texts

void fewNames(HostileInput& input) {
    for (const char* rule : {"*.b.c", "x.y", "*.a.b", "*.q"}) {
        input.add(rule);
    }
}

void randomNameKey(HostileInput& input) {
    fewNames(input);
    input.addTextKey(randomLabels(input.limit()));
}

void lettersKey(HostileInput& input) {
    fewNames(input);
    input.addTextKey(filled(differentLetters(true) + ".", input.limit()) + "a");
}

constexpr HostileFamily NAME_KEY_FAMILIES[] = {
    {"random", "labels of 5 to 20 letters", "", randomNameKey},
    {"different_letters", "labels of 29 different letters",
     "each letter is encoded after a pass over its label: 29 letters of a label", lettersKey},
};

void fewUrls(HostileInput& input) {
    for (const char* rule : {"*.b.c/p", "x.y/q", "*.a.b", "*.q/r*s"}) {
        input.add(rule);
    }
}

void randomUrlKey(HostileInput& input) {
    fewUrls(input);
    input.addTextKey("http://example.com/" + randomLabels(input.limit()));
}

void dotsKey(HostileInput& input) {
    fewUrls(input);
    input.addTextKey(std::string(input.limit(), '.'));
}

void bracketsKey(HostileInput& input) {
    fewUrls(input);
    input.addTextKey(std::string(input.limit(), '['));
}

constexpr HostileFamily URL_KEY_FAMILIES[] = {
    {"random", "a short host and a path of names", "", randomUrlKey},
    {"dots", "a host of dots",
     "a host is read to its end, a path only as far as its buffer holds it: the bytes of the URL",
     dotsKey},
    {"brackets", "`[` again and again",
     "a host is read to its end, a path only as far as its buffer holds it: the bytes of the URL",
     bracketsKey},
};

void randomNameRule(HostileInput& input) {
    input.add(randomLabels(input.limit() - 1));
    input.addTextKey("a");
}

void growingNameRule(HostileInput& input) {
    input.add(growingName(input.limit() - 1));
    input.addTextKey("a");
}

constexpr HostileFamily NAME_RULE_FAMILIES[] = {
    {"random", "labels of 5 to 20 letters", "", randomNameRule},
    {"idn_growth", "labels of 29 different letters, then `\u00FC.` again and again",
     "each label is encoded again with more room: 4,095 bytes of canonical text", growingNameRule},
};

void randomUrlRule(HostileInput& input) {
    input.add("example.com/" + randomLabels(input.limit() - 13));
    input.addTextKey("a");
}

constexpr HostileFamily URL_RULE_FAMILIES[] = {
    {"random", "a short host and a path of names", "", randomUrlRule},
    {"idn_growth", "a host as the name above",
     "each label is encoded again with more room: 4,095 bytes of canonical text", growingNameRule},
};

}  // namespace

HostileFamilies nameFamilies() {
    return NAME_FAMILIES;
}
HostileFamilies urlFamilies() {
    return URL_FAMILIES;
}
HostileFamilies nameKeyFamilies() {
    return NAME_KEY_FAMILIES;
}
HostileFamilies urlKeyFamilies() {
    return URL_KEY_FAMILIES;
}
HostileFamilies nameRuleFamilies() {
    return NAME_RULE_FAMILIES;
}
HostileFamilies urlRuleFamilies() {
    return URL_RULE_FAMILIES;
}

}  // namespace bench
