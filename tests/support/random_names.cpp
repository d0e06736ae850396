#include "support/random_names.h"

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <vector>

#include "support/text.h"

namespace rs::test {

namespace {

const std::vector<std::string> PLAIN_LABELS{"a", "b", "c", "web", "com", "x1", "a-b", "test", "0"};

// The last two are the first two in capital letters. An octal escape ends where a letter follows.
const std::vector<std::string> WIDE_LABELS{
    "\303\274",         "b\303\274cher", "\xD0\xB6", "a\xE2\x82\xAC",
    "\xF0\x9F\x98\x80", "\xC4\xB0",      "\303\234", "B\303\234CHER",
};

const std::vector<std::string> ODD_LABELS{
    "a_b",  "_",    "%61", "%41b",         "%2e",    "a%2eb",        "%2A",      "%2a",   "%",
    "a%4",  "%zz",  "*",   "a%",           "%C3%BC", "%c3%9c",       "%2f",      "a%00b", "xn--tda",
    "\xC3", "\x80", "a b", "\xF0\x9F\x98", "\xFF",   "\xED\xA0\x80", "\xC1\x81", "%3F",   "xn--",
};

const std::vector<std::string> URL_ENDS{":",    "@",    "[",  "]",   "u@",
                                        "u:p@", "a@b@", "[a", "a]b", ":1]"};

// A label near one of the limits: 63 bytes, 63 code points, 255 bytes.
std::string longLabel(RandomSource& random) {
    switch (random.below(6)) {
        case 0:
            return repeat("a", random.between(61, 66));
        case 1:
            return repeat("%41", random.between(61, 66));
        case 2:
            return repeat("\xC3\xBC", random.between(40, 66));
        case 3:
            return repeat("a", random.between(40, 66)) + "\xC3\xBC";
        case 4:
            return repeat("\xF0\x9F\x98\x80", random.between(10, 66));
        default:
            return repeat("a", random.between(253, 258)) + random.pick(WIDE_LABELS);
    }
}

std::string escapeOf(char byte, RandomSource& random) {
    std::array<char, 4> text{};
    std::snprintf(text.data(), text.size(), random.oneIn(2) ? "%%%02x" : "%%%02X",
                  static_cast<unsigned>(static_cast<unsigned char>(byte)));
    return text.data();
}

std::string blanks(RandomSource& random) {
    static const std::vector<std::string> CHOICES{" ", "\t", "\r\n", "  ", " \n\t"};
    return random.oneIn(6) ? random.pick(CHOICES) : "";
}

std::string randomScheme(RandomSource& random) {
    static const std::vector<std::string> CHOICES{
        "http://",  "http://", "http://", "HTTP://",   "https://", "https://", "https://",
        "hTTpS://", "//",      "//",      "ftp://",    "file://",  "://",      "rtmps://",
        "abcd://",  "http:/",  "http:",   "mailto://", "File://",
    };
    return random.oneIn(2) ? "" : random.pick(CHOICES);
}

std::string randomPort(RandomSource& random, bool isRule) {
    static const std::vector<std::string> GOOD{":80", ":443", ":8080", ":1", ":65535"};
    static const std::vector<std::string> ODD{":",  ":0",  ":080",        ":65536", ":x",  ":8x",
                                              ":*", ":80", ":4294967376", ":80:81", ":-1", ": 80"};
    if (random.oneIn(12)) {
        return random.pick(ODD);
    }
    if (isRule && random.oneIn(4)) {
        return ":*";
    }
    return random.oneIn(4) ? random.pick(GOOD) : "";
}

std::string randomUrlText(RandomSource& random, bool isRule) {
    std::string text = randomScheme(random);
    if (random.oneIn(8)) {
        text += random.pick(URL_ENDS);
    }
    if (random.oneIn(12)) {
        text += randomIpLiteral(random);
    } else if (isRule && random.oneIn(8)) {
        text += "*";
    } else if (!random.oneIn(20)) {
        text += (isRule && random.oneIn(3) ? "*." : "") + randomHost(random);
    }
    text += randomPort(random, isRule);
    if (!random.oneIn(4)) {
        text += randomRest(random, isRule ? 1 : 3);
    }
    return text;
}

}  // namespace

std::string randomLabel(RandomSource& random) {
    if (random.oneIn(60)) {
        return longLabel(random);
    }
    if (random.oneIn(12)) {
        return random.pick(ODD_LABELS);
    }
    if (random.oneIn(8)) {
        return random.pick(WIDE_LABELS);
    }
    return random.pick(PLAIN_LABELS);
}

std::string randomHost(RandomSource& random) {
    std::string host = random.oneIn(40) ? "." : "";
    // A name near the limit of 255 bytes has many labels.
    const uint64_t count = random.oneIn(50) ? random.between(100, 140) : random.between(1, 4);
    for (uint64_t i = 0; i < count; ++i) {
        host += (i == 0 ? "" : ".") + (count > 50 ? std::string("a") : randomLabel(random));
    }
    if (count > 50 && random.oneIn(2)) {
        host += repeat("b", random.below(4));
    }
    if (random.oneIn(10)) {
        host += random.oneIn(4) ? ".." : ".";
    }
    return random.oneIn(3) ? disguise(host, random) : host;
}

std::string randomDomainRule(RandomSource& random) {
    if (random.oneIn(60)) {
        return blanks(random) + "*" + blanks(random);
    }
    return blanks(random) + (random.oneIn(2) ? "*." : "") + randomHost(random) + blanks(random);
}

std::string randomIpLiteral(RandomSource& random) {
    static const std::vector<std::string> KNOWN{
        "[::]",
        "[::1]",
        "[::ffff:1.2.3.4]",
        "[::FFFF:0102:0304]",
        "[2001:DB8::1]",
        "[1:2:3:4:5:6:7:8]",
        "[1:2:3:4:5:6:1.2.3.4]",
        "[1::]",
        "[::ffff:1.2.3.4",
        "[]",
        "[::12345]",
        "[1::2::3]",
        "[1:2:3:4:5:6:7::]",
        "[1:2:3:4:5:6:7:8:9]",
        "[::01.2.3.4]",
        "[1.2.3.4]",
        "[1:2:3:4:5:6:7:1.2.3.4]",
        "[::1:2:3:4:5:6:1.2.3.4]",
        "[1:2:3:4:5:6:7:]",
        "[:1]",
        "[::1.2.3.256]",
        "[::1.2.3]",
    };
    if (!random.oneIn(4)) {
        return random.pick(KNOWN);
    }
    std::string text = "[";
    const uint64_t pieces = random.between(1, 9);
    static const std::vector<std::string> GROUPS{"0",   "1", "ffff",  "FFFF",
                                                 "00a", "",  "12345", "1.2.3.4"};
    for (uint64_t i = 0; i < pieces; ++i) {
        text += (i == 0 ? "" : ":") + random.pick(GROUPS);
    }
    return text + "]";
}

std::string randomRest(RandomSource& random, uint32_t maxStars) {
    static const std::vector<std::string> STARTS{"/", "/", "/", "/", "/", "/", "?", "#"};
    static const std::vector<std::string> PIECES{
        "a",  "b",   "A",  "/", "abcde", "/a/b", "?",  "#",  "+",   "%41", "%2f",   "%",
        "%4", "%2A", "..", "=", "x",     "ab",   "/x", "//", "%3f", "%zz", "index", "%23",
    };
    std::string rest = random.pick(STARTS);
    uint32_t stars = 0;
    // Few different long paths make crowded hosts.
    for (uint64_t count = random.below(5); count > 0; --count) {
        if (random.oneIn(6) && stars < maxStars) {
            rest += '*';
            ++stars;
        } else {
            rest += random.pick(PIECES);
        }
    }
    return rest + (random.oneIn(100) ? "**" : "");
}

std::string randomUrl(RandomSource& random) {
    return randomUrlText(random, false);
}

std::string randomUrlRule(RandomSource& random) {
    return blanks(random) + randomUrlText(random, true) + blanks(random);
}

std::string disguise(std::string_view host, RandomSource& random) {
    std::string text;
    for (const char byte : host) {
        const bool isLetter = std::isalpha(static_cast<unsigned char>(byte)) != 0;
        if (isLetter && random.oneIn(8)) {
            text += escapeOf(byte, random);
        } else if (isLetter && random.oneIn(2)) {
            text += static_cast<char>(std::toupper(static_cast<unsigned char>(byte)));
        } else {
            text += byte;
        }
    }
    return text + (random.oneIn(4) ? "." : "");
}

std::string mutateText(std::string_view text, RandomSource& random) {
    static const std::vector<char> BYTES{'a',    'A',    '0',    '.', '*',  '%', ':',    '/',
                                         '?',    '#',    '@',    '[', ']',  '_', '-',    ' ',
                                         '\n',   '+',    'f',    '2', '\0', 'z', '\x7F', '\x80',
                                         '\xC3', '\xF0', '\xFF', 's', 'e',  '\t'};
    std::string changed(text);
    for (uint64_t count = random.between(1, 3); count > 0; --count) {
        const size_t at = static_cast<size_t>(random.below(changed.size() + 1));
        switch (random.below(4)) {
            case 0:
                changed.insert(at, 1, random.pick(BYTES));
                break;
            case 1:
                changed.erase(at, random.between(1, 3));
                break;
            case 2:
                if (at < changed.size()) {
                    changed[at] = random.pick(BYTES);
                }
                break;
            default:
                changed.insert(at, changed.substr(at, random.between(1, 4)));
                break;
        }
    }
    return changed;
}

}  // namespace rs::test
