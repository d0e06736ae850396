#include "domain/host_name.h"

#include <ruleset.h>

#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/host_names.h"
#include "support/text.h"

namespace rs::test {

namespace {

constexpr uint32_t ROOMY = 1024;

// A status, and the output of RULE_OK.
struct Normalized {
    int32_t status;
    std::string text;
};

using NormalizeHost = int32_t (*)(const char* name, uint32_t length, char* out,
                                  uint32_t* inOutCapacity) noexcept;

// Input and output stand in blocks of exactly their sizes.
Normalized normalize(NormalizeHost normalizeHost, std::string_view name,
                     uint32_t capacity = ROOMY) {
    const ExactText text(name);
    const auto out = std::make_unique<char[]>(capacity);
    uint32_t length = capacity;
    const int32_t status = normalizeHost(text.data(), text.size(), out.get(), &length);
    return {status, status == RULE_OK ? std::string(out.get(), length) : std::string()};
}

Normalized strictForm(std::string_view name, uint32_t capacity = ROOMY) {
    return normalize(normalizeHostName, name, capacity);
}

Normalized ruleForm(std::string_view name, uint32_t capacity = ROOMY) {
    return normalize(normalizeRuleHost, name, capacity);
}

Normalized matchForm(std::string_view name, uint32_t capacity = ROOMY) {
    return normalize(normalizeMatchHost, name, capacity);
}

void expectOk(std::string_view expected, const Normalized& normalized) {
    EXPECT_EQ(RULE_OK, normalized.status);
    EXPECT_EQ(expected, normalized.text);
}

void expectAllForms(std::string_view expected, std::string_view name) {
    SCOPED_TRACE(name);
    expectOk(expected, strictForm(name));
    expectOk(expected, ruleForm(name));
    expectOk(expected, matchForm(name));
}

Normalized decodeLabel(std::string_view label, uint32_t capacity, bool& nonAscii) {
    const ExactText text(label);
    const auto out = std::make_unique<char[]>(capacity);
    uint32_t length = capacity;
    const int32_t status =
        percentDecodeLower(text.data(), text.size(), out.get(), &length, &nonAscii);
    return {status, status == RULE_OK ? std::string(out.get(), length) : std::string()};
}

Normalized normalizeLabel(std::string_view label, bool nonAscii, uint32_t capacity = ROOMY) {
    const ExactText text(label);
    const auto out = std::make_unique<char[]>(capacity);
    uint32_t length = capacity;
    const int32_t status =
        normalizeHostLabel(text.data(), text.size(), out.get(), &length, nonAscii);
    return {status, status == RULE_OK ? std::string(out.get(), length) : std::string()};
}

// ---- Labels.

TEST(PercentDecodeLower, LowersAndDecodes) {
    constexpr struct {
        std::string_view label;
        std::string_view decoded;
        bool nonAscii;
    } ROWS[] = {
        {"", "", false},
        {"WebX", "webx", false},
        {"%41b%5A", "abz", false},
        {"a%2fb", "a/b", false},
        {"%2e%25", ".%", false},
        {"%7F", "\x7F", false},
        {"%80", "\x80", true},
        {"b%C3%bccher",
         "b\xC3\xBC"
         "cher",
         true},
        // A raw byte is marked by whoever scanned the name.
        {"b\xC3\x9C", "b\xC3\x9C", false},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.label);
        bool nonAscii = false;
        expectOk(row.decoded, decodeLabel(row.label, 63, nonAscii));
        EXPECT_EQ(row.nonAscii, nonAscii);
    }
}

TEST(PercentDecodeLower, NeverClearsTheMark) {
    bool nonAscii = true;
    expectOk("a", decodeLabel("a", 63, nonAscii));
    EXPECT_TRUE(nonAscii);
}

TEST(PercentDecodeLower, RefusesIncompleteEscapes) {
    for (const std::string_view label :
         {"%", "a%", "a%4", "a%zz", "a%4g", "a%g4", "%%41", "a%4%"}) {
        bool nonAscii = false;
        EXPECT_EQ(RULE_ERR_BAD_RULE, decodeLabel(label, 63, nonAscii).status) << label;
    }
}

TEST(PercentDecodeLower, FillsItsCapacityButNotMore) {
    bool nonAscii = false;
    expectOk("abc", decodeLabel("aB%63", 3, nonAscii));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, decodeLabel("aB%63", 2, nonAscii).status);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, decodeLabel("a", 0, nonAscii).status);
    expectOk("", decodeLabel("", 0, nonAscii));
    const std::string longLabel = repeat("%41", 255);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, decodeLabel(longLabel, 254, nonAscii).status);
    expectOk(std::string(255, 'a'), decodeLabel(longLabel, 255, nonAscii));
}

TEST(HostLabel, HasOneTo63Bytes) {
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel("", false).status);
    expectOk("a", normalizeLabel("A", false));
    expectOk(std::string(63, 'a'), normalizeLabel(std::string(63, 'A'), false));
    expectOk(std::string(63, 'a'), normalizeLabel(repeat("%41", 63), false));
    for (const size_t length : {64U, 255U, 256U, 1000U}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel(std::string(length, 'a'), false).status);
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel(repeat("%61", length), false).status);
    }
}

TEST(HostLabel, IsTooLongBeforeItIsTooLargeForTheRoom) {
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel(std::string(64, 'a'), false, 10).status);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, normalizeLabel(std::string(63, 'a'), false, 62).status);
}

TEST(HostLabel, OfOtherLettersBecomesAscii) {
    // Each U+00FC is one byte more of output at first.
    expectOk("xn--tda" + std::string(56, 'a'), normalizeLabel(repeat("\xC3\xBC", 57), true));
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel(repeat("\xC3\xBC", 58), true).status);
    expectOk(std::string("xn--") + std::string(55, 'a') + "-8yf",
             normalizeLabel(std::string(55, 'A') + "\xC3\x9C", true));
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel(std::string(56, 'a') + "\xC3\xBC", true).status);
}

TEST(HostLabel, HasAtMost63CodePoints) {
    // Each of these becomes a plain 'i', so that only their number counts.
    expectOk(std::string(63, 'i'), normalizeLabel(repeat("\xC4\xB0", 63), true, 63));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, normalizeLabel(repeat("\xC4\xB0", 63), true, 62).status);
    // There are too many before their form is too large for the room.
    for (const uint32_t capacity : {0U, 63U, 64U}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel(repeat("\xC4\xB0", 64), true, capacity).status);
    }
}

TEST(HostLabel, MayDecodeToFarMoreBytesThanItKeeps) {
    // Overlong spellings of 'a' in four bytes: 63 of them are 252 bytes.
    expectOk(std::string(63, 'a'), normalizeLabel(repeat("\xF0\x80\x81\xA1", 63), true));
    expectOk(std::string(63, 'a'), normalizeLabel(repeat("%F0%80%81%81", 63), false));
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel(repeat("\xF0\x80\x81\xA1", 64), true).status);
}

// Of a label without other letters, the mark changes neither status nor output.
TEST(HostLabel, MarkedForNothingIsCopied) {
    expectOk("web", normalizeLabel("WEB", true));
    for (uint32_t value = 0; value < 0x80; ++value) {
        SCOPED_TRACE(value);
        const char byte = static_cast<char>(value);
        const std::string label{'A', byte == '%' ? 'b' : byte, '-'};
        const Normalized plain = normalizeLabel(label, false);
        EXPECT_EQ(RULE_OK, plain.status);
        expectOk(plain.text, normalizeLabel(label, true));
        for (const size_t length : {61U, 62U, 200U}) {
            for (const uint32_t capacity : {0U, 62U, 63U, 64U}) {
                const std::string longLabel = label + std::string(length, byte);
                EXPECT_EQ(normalizeLabel(longLabel, false, capacity).status,
                          normalizeLabel(longLabel, true, capacity).status);
            }
        }
    }
}

TEST(HostLabel, RefusesASequenceOfFourThatItsEndCutsOff) {
    // Also where a longer label has left its bytes behind the end of this one.
    expectOk("xn--ls8h", normalizeLabel("\xF0\x9F\x92\xA9", true));
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel("\xF0\x9F\x92", true).status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalizeLabel("%F0%9F%92", false).status);
}

// ---- The strict form.

TEST(HostName, LowersLetters) {
    expectAllForms("web.example.com", "WEB.Example.COM");
    expectAllForms("a-1.z-9", "A-1.Z-9");
}

TEST(HostName, DropsTrailingDot) {
    expectAllForms("web.example.com", "web.example.com.");
    expectAllForms("a", "a.");
}

TEST(HostName, RefusesEmptyLabels) {
    for (const std::string_view name :
         {".example.com", "a..b", ".", "..", "a..", "..a", ".a", "a...b"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(name).status) << name;
    }
}

TEST(HostName, ClassifiesEveryByte) {
    for (uint32_t value = 0; value < 256; ++value) {
        SCOPED_TRACE(value);
        const char byte = static_cast<char>(value);
        const bool isOrdinary = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                                (byte >= 'A' && byte <= 'Z') || byte == '-' || byte == '.';
        // '%' needs its digits, and a byte from 0x80 on the rest of its sequence.
        const Normalized normalized = strictForm(std::string{'a', byte, 'b'});
        EXPECT_EQ(isOrdinary ? RULE_OK : RULE_ERR_BAD_RULE, normalized.status);
    }
    expectOk("xn--abzz-1ra", strictForm("ab\xC3\xBCzz"));
    expectOk("aabzz", strictForm("a%41bzz"));
}

TEST(HostName, RefusesAnInvalidByteAnywhere) {
    for (const std::string_view name :
         {"_a.com", "a_b.com", "a_", "com._", "a b", " a", "a ", "a*b", "*.com", "[a]", "a:80",
          "a/b", "a@b", "a#b", "a?b", "a\x7F"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(name).status) << name;
    }
    EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(std::string_view("a\0b", 3)).status);
}

TEST(HostName, HasLabelsOfAtMost63Bytes) {
    const std::string label63(63, 'a');
    expectAllForms(label63, label63);
    expectAllForms("www." + label63 + ".com", "www." + label63 + ".com");
    for (const std::string& name :
         {label63 + "a", label63 + "a.com", "www." + label63 + "a.com", "www." + label63 + "a"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(name).status) << name;
        EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(name).status) << name;
    }
}

TEST(HostName, HasAtMost255Bytes) {
    const std::string name255 = nameOfLength(255);
    const std::string name256 = nameOfLength(256);
    expectAllForms(name255, name255);
    // The dropped dot does not count.
    expectAllForms(name255, name255 + '.');
    for (const std::string& name : {name256, name256 + '.', nameOfLength(300)}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(name).status);
        EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(name).status);
    }
}

TEST(HostName, DecodesEscapes) {
    expectAllForms("abc.com", "%41%42c.com");
    expectAllForms("abc.com", "%61%62c.%63om");
    expectAllForms("a-b", "a%2Db");
}

TEST(HostName, RefusesIncompleteEscapes) {
    for (const std::string_view name : {"a%4", "a%zz", "a%", "a%4.com", "a%.41", "%"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(name).status) << name;
    }
}

TEST(HostName, DoesNotReclassifyDecodedBytes) {
    expectAllForms("a/b", "a%2fb");
    expectAllForms("a.b.com", "a%2eb.com");
    expectAllForms("a_b", "a%5fb");
    expectAllForms("a:80", "a%3a80");
    expectAllForms("*.com", "%2a.com");
    expectAllForms(std::string_view("a\0b", 3), "a%00b");
    // The separators that count stand in the input: this is one label, which is too long.
    const std::string longLabel = std::string(40, 'a') + "%2e" + std::string(40, 'b');
    EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(longLabel).status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(longLabel).status);
    expectOk(std::string(40, 'a') + '.' + std::string(40, 'b'), matchForm(longLabel));
    // A label that decodes to a dot alone is not empty.
    expectOk("...", strictForm("%2e.%2e"));
}

TEST(HostName, KeepsADecodedDotAtTheEndUntilAWrapperDropsIt) {
    expectOk("a.", strictForm("a%2e"));
    expectOk("a", ruleForm("a%2e"));
    expectOk("a", matchForm("a%2e"));
    expectOk("a.", strictForm("a%2e."));
    expectOk("a", ruleForm("a%2e."));
    expectOk("a.", ruleForm("a%2e%2e"));
    // Nothing may be left.
    expectOk(".", strictForm("%2e"));
    expectOk("", ruleForm("%2e"));
    expectOk("", matchForm("%2e"));
}

TEST(HostName, EncodesLabelsOfOtherLetters) {
    expectAllForms("xn--bcher-kva",
                   "b\xC3\xBC"
                   "cher");
    expectAllForms("xn--bcher-kva",
                   "B\xC3\x9C"
                   "CHER");
    expectAllForms("xn--bcher-kva", "b%c3%bccher");
    expectAllForms("xn--bcher-kva", "B%C3%9CCHER");
    expectAllForms("xn--bcher-kva",
                   "b\xC3%BC"
                   "cher");
    expectAllForms("xn--bcher-kva", "XN--Bcher-KVA");
    expectAllForms("www.xn--bcher-kva.example",
                   "www.b\xC3\xBC"
                   "cher.Example.");
    expectAllForms("xn--tda.a.xn--tda", "\xC3\x9C.A.%c3%9c");
}

TEST(HostName, EncodesEachLabelByItself) {
    // Other letters mark their label, whichever it is and wherever they are in it.
    expectAllForms("xn--tda.xn--a", "\xC3\xBC.XN--A");
    expectAllForms("xn--tda.com", "\xC3\xBC.com");
    expectAllForms("web.xn--tda", "WEB.\xC3\xBC");
    expectAllForms("web.xn--tda.com", "WEB.\xC3\x9C.com.");
    expectAllForms("xn--a-eha.b.xn--b-eha.xn--bab-ioa",
                   "a\xC3\xBC.B."
                   "b\xC3\xBC."
                   "BA\xC3\xBC"
                   "B");
    // The letters of one label do not make a plain one of the next.
    expectAllForms("xn--tda.xn--tda", "\xC3\xBC.\xC3\xBC");
}

TEST(HostName, TurnsTheDottedCapitalIIntoAPlainI) {
    expectAllForms("i", "\xC4\xB0");
    expectAllForms("i", "%C4%B0");
    expectAllForms("istanbul.com", "\xC4\xB0STANBUL.com");
    // Not beside another letter.
    expectAllForms("xn--i-eha", "\xC4\xB0\xC3\xBC");
}

TEST(HostName, RefusesBadUtf8) {
    for (const std::string_view name : {"a\xC3.com", "\x80", "a\xBF-b", "\xF8\x88\x80\x80\x80",
                                        "\xE6\x97.com", "\xF0\x9F\x92", "%c3", "%c3.%bc"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(name).status) << name;
    }
}

TEST(HostName, RefusesLabelsOfMoreThan63CodePoints) {
    expectAllForms(std::string(63, 'i'), repeat("\xC4\xB0", 63));
    EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(repeat("\xC4\xB0", 64)).status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(std::string(62, 'a') + "\xC3\xBC\xC3\xBC").status);
}

TEST(HostName, RefusesLabelsOfMoreThan63BytesEncoded) {
    expectOk("xn--tda" + std::string(56, 'a'), strictForm(repeat("\xC3\xBC", 57)));
    EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(repeat("\xC3\xBC", 58)).status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(std::string(56, 'a') + "\xC3\xBC.com").status);
}

TEST(HostName, FillsItsRoomButNotMore) {
    constexpr struct {
        std::string_view name;
        uint32_t needed;
    } ROWS[] = {
        {"a", 1},
        {"web.example.com", 15},
        {"%41%42", 2},
        {"b\xC3\xBC"
         "cher.com",
         17},
        // Deliberate: the dot that is dropped needs its room first.
        {"a.", 2},
        {"web.example.com.", 16},
        {"\xC3\xBC.", 8},
    };
    for (const auto& row : ROWS) {
        for (const NormalizeHost form :
             {normalizeHostName, normalizeRuleHost, normalizeMatchHost}) {
            for (uint32_t capacity = 0; capacity <= row.needed + 2; ++capacity) {
                SCOPED_TRACE(testing::Message() << row.name << " into " << capacity);
                EXPECT_EQ(capacity < row.needed ? RULE_ERR_BUFFER_SMALL : RULE_OK,
                          normalize(form, row.name, capacity).status);
            }
        }
    }
}

TEST(HostName, RefusesNullAndEmptyArguments) {
    char out[16];
    uint32_t length = sizeof out;
    for (const NormalizeHost form : {normalizeHostName, normalizeRuleHost, normalizeMatchHost}) {
        EXPECT_EQ(RULE_ERR_INVALID_ARG, form(nullptr, 1, out, &length));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, form("a", 0, out, &length));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, form("a", 1, nullptr, &length));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, form("a", 1, out, nullptr));
    }
    EXPECT_EQ(16, length);
}

// ---- The form for rules.

TEST(RuleHost, KeepsWhatTheStrictFormRefuses) {
    constexpr struct {
        std::string_view name;
        std::string_view kept;
    } ROWS[] = {
        {"under_score.com", "under_score.com"},
        {"My_Host.Example.", "my_host.example"},
        {"a*b", "a*b"},
        {"[A]", "[a]"},
        {"a b\t@", "a b\t@"},
        {"a%zz", "a%zz"},
        {"a%4", "a%4"},
        {"%", "%"},
        {"%ZZ.COM", "%zz.com"},
        // Good escapes are decoded beside bad ones.
        {"_%41%4", "_a%4"},
        {"_%2E_", "_._"},
        {"_%3a", "_:"},
        // Bytes that are no UTF-8, and letters that are not encoded beside a '_'.
        {"A\xC3", "a\xC3"},
        {"_\xC3\x9C", "_\xC3\x9C"},
        {"_%C3%9C", "_\xC3\x9C"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(RULE_ERR_BAD_RULE, strictForm(row.name).status);
        expectOk(row.kept, ruleForm(row.name));
        expectOk(row.kept, matchForm(row.name));
    }
    expectOk(std::string_view("_\0", 2), ruleForm(std::string_view("_\0", 2)));
}

TEST(RuleHost, RefusesBytesThatEndAHost) {
    for (const std::string_view name : {"host:80", "a/b", "a#b", "a?b", ":", "/", "#", "?", "_:"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(name).status) << name;
    }
}

TEST(RuleHost, RefusesEmptyLabelsInsideACopy) {
    for (const std::string_view name : {"._a", "_..a", "_a..", ".", "..", "a..b", ".a"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(name).status) << name;
    }
    expectOk("_a", ruleForm("_a."));
}

TEST(RuleHost, CopiesLabelsOfAtMost63Bytes) {
    const std::string label63 = '_' + std::string(62, 'a');
    expectOk(label63, ruleForm(label63));
    expectOk(label63, ruleForm(label63 + '.'));
    expectOk(label63 + ".b", ruleForm(label63 + ".b"));
    for (const std::string& name : {label63 + 'a', label63 + "a.", label63 + "a.b"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(name).status) << name;
    }
    // An escape is one byte of its label; a bad one is three.
    expectOk('_' + std::string(62, 'a'), ruleForm('_' + repeat("%41", 62)));
    EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm('_' + repeat("%41", 63)).status);
    expectOk(repeat("%zz", 21), ruleForm(repeat("%zz", 21)));
    EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(repeat("%zz", 21) + 'a').status);
}

TEST(RuleHost, CountsTheLastDotOfACopyAmongIts255Bytes) {
    const std::string name254 = nameOfLength(253) + '_';
    const std::string name255 = nameOfLength(254) + '_';
    expectOk(name254, ruleForm(name254 + '.'));
    expectOk(name255, ruleForm(name255));
    // Deliberate: the limit is tested before the dot is dropped.
    EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(name255 + '.').status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(name255 + 'a').status);
    // A dot that comes from an escape counts, too, before it is dropped.
    const std::string strict254 = nameOfLength(254);
    expectOk(strict254, ruleForm(strict254 + "%2e"));
    EXPECT_EQ(RULE_ERR_BAD_RULE, ruleForm(nameOfLength(255) + "%2e").status);
}

TEST(RuleHost, CopiesANameThatOnlyItsEncodingMakesTooLong) {
    // 8 bytes of encoded form for each label, the last dot not counted.
    const std::string fits = repeat("\xC3\x9C.", 32);
    expectOk(repeat("xn--tda.", 31) + "xn--tda", ruleForm(fits));
    const std::string copied = repeat("\xC3\x9C.", 33);
    expectOk(copied.substr(0, copied.size() - 1), ruleForm(copied));
    expectOk(copied.substr(0, copied.size() - 1), matchForm(copied));
    // A label alone, too: as it stands it has 58 bytes.
    const std::string label = std::string(56, 'A') + "\xC3\x9C";
    expectOk(std::string(56, 'a') + "\xC3\x9C", ruleForm(label));
}

TEST(RuleHost, FallsBackOnASyntaxErrorOnly) {
    // Deliberate: the copy would have fitted, but the strict form only runs out of room.
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, ruleForm("\xC3\xBC", 6).status);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, matchForm("\xC3\xBC", 6).status);
    expectOk("xn--tda", ruleForm("\xC3\xBC", 7));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, ruleForm("abc.a_b", 3).status);
    // The byte that makes the error stands before the label that does not fit.
    expectOk("_\xC3\xBC", ruleForm("_\xC3\xBC", 3));
    expectOk("_\xC3\xBC", matchForm("_\xC3\xBC", 3));
    // It stands behind it, in the same label or in the next one.
    expectOk("\xC3\xBC_", ruleForm("\xC3\xBC_", 3));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, ruleForm("\xC3\xBC._", 4).status);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, matchForm("\xC3\xBC._", 7).status);
    expectOk("\xC3\xBC._", ruleForm("\xC3\xBC._", 8));
    expectOk("\xC3\xBC._", matchForm("\xC3\xBC._", 8));
}

TEST(RuleHost, FillsTheRoomOfACopyButNotMore) {
    for (uint32_t capacity = 0; capacity < 8; ++capacity) {
        SCOPED_TRACE(capacity);
        EXPECT_EQ(capacity < 4 ? RULE_ERR_BUFFER_SMALL : RULE_OK,
                  ruleForm("_%41_.", capacity).status);
        EXPECT_EQ(capacity < 4 ? RULE_ERR_BUFFER_SMALL : RULE_OK,
                  matchForm("_%41_.", capacity).status);
    }
}

// ---- The form for names to be matched.

TEST(MatchHost, RefusesNoSyntax) {
    constexpr struct {
        std::string_view name;
        std::string_view kept;
    } ROWS[] = {
        {"Host:80", "host:80"},
        {"A/b", "a/b"},
        {"Under_Score.com", "under_score.com"},
        {"a#B?c", "a#b?c"},
        // Empty labels.
        {"A..b", "a..b"},
        {".a", ".a"},
        {"..", "."},
        {"a..", "a."},
        {".", ""},
        // Escapes and what is none.
        {"_%41", "_a"},
        {"A%4", "a%4"},
        {"%", "%"},
        {"a:%2e", "a:"},
        {"a:%2e%2e", "a:."},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.name);
        expectOk(row.kept, matchForm(row.name));
    }
}

TEST(MatchHost, HasNoLimits) {
    // Deliberate: labels of 64 bytes and more, and names of 256 and more, are copied.
    for (const size_t length : {63U, 64U, 255U, 256U, 5000U}) {
        expectOk(std::string(length, 'a') + ".com",
                 matchForm(std::string(length, 'A') + ".com", 6000));
    }
    const std::string longName = nameOfLength(3000);
    expectOk(longName, matchForm(longName + '.', 3001));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, matchForm(longName + '.', 3000).status);
}

TEST(MatchHost, DropsOneTrailingDotOfACopy) {
    expectOk("_a", matchForm("_a."));
    expectOk("_a.", matchForm("_a.."));
    expectOk(nameOfLength(256), matchForm(nameOfLength(256) + '.'));
}

TEST(MatchHost, MayBeNormalizedWhereItIs) {
    std::string text = "a.BC/Path-that-must-stay-as-it-is";
    uint32_t length = 30;
    ASSERT_EQ(RULE_OK, normalizeMatchHost(text.data(), 4, text.data(), &length));
    EXPECT_EQ("a.bc/Path-that-must-stay-as-it-is", text);
    EXPECT_EQ(4U, length);
}

}  // namespace

}  // namespace rs::test
