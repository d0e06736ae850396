// Checks what the command answered in the demonstration against the files of country ranges
// themselves, by walking their lines from the first to the last. It shares no code with the library
// nor with geoip_input.
//
//     usage: geoip_check GEOIP GEOIP6 PROBES KEYS ANSWERS COUNT
//
//     GEOIP, GEOIP6  the files that the rules were made from; the id of a rule counts their ranges
//     PROBES         what the command answered for the first address of every range, in that order:
//                    each range must be found, under its own id
//     KEYS, ANSWERS  addresses, and what the command answered for them; the first COUNT are checked
//
// An answer is a line of KEY TAB RULE TAB PLACE TAB VALUE TAB ID, and an address without a rule has
// none. Prints what it counted; the exit status is 1 when anything differs.
#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

__extension__ using Number = unsigned __int128;

// The ranges of one file, column by column, because a walk reads two of the columns only.
struct Table {
    std::vector<Number> first;
    std::vector<Number> last;
    std::vector<unsigned long> value;  // of the country
    unsigned long idBefore = 0;        // the id of the rule before the first one
};

struct Answer {
    std::string key;
    unsigned long value = 0;
    unsigned long id = 0;  // 0: no rule
};

constexpr uint32_t SHOWN_DIFFERENCES = 10;

[[noreturn]] void stop(const std::string& message) {
    std::fprintf(stderr, "geoip_check: %s\n", message.c_str());
    std::exit(2);
}

Number readIpv6(const std::string& text) {
    in6_addr address{};
    if (inet_pton(AF_INET6, text.c_str(), &address) != 1) {
        stop("not an IPv6 address: " + text);
    }
    Number number = 0;
    for (const uint8_t byte : address.s6_addr) {
        number = number * 256 + byte;
    }
    return number;
}

Number readIpv4(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
        stop("not an IPv4 address: " + text);
    }
    return ntohl(address.s_addr);
}

bool isIpv6(const std::string& text) {
    return text.find(':') != std::string::npos;
}

Number readAddress(const std::string& text) {
    return isIpv6(text) ? readIpv6(text) : readIpv4(text);
}

std::vector<std::string> split(const std::string& line, char separator) {
    std::vector<std::string> fields(1);
    for (const char byte : line) {
        if (byte == separator) {
            fields.emplace_back();
        } else {
            fields.back() += byte;
        }
    }
    return fields;
}

std::ifstream open(const char* path) {
    std::ifstream file(path);
    if (!file) {
        stop(std::string("cannot read ") + path);
    }
    return file;
}

Table readTable(const char* path) {
    Table table;
    std::ifstream file = open(path);
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, 1, "#") == 0) {
            continue;
        }
        const std::vector<std::string> fields = split(line, ',');
        if (fields.size() != 3 || fields[2].size() != 2) {
            stop(std::string(path) + ": unexpected line " + line);
        }
        // IPv4 addresses stand in their file as decimal numbers.
        const bool ipv6 = isIpv6(fields[0]);
        table.first.push_back(ipv6 ? readIpv6(fields[0]) : std::stoul(fields[0]));
        table.last.push_back(ipv6 ? readIpv6(fields[1]) : std::stoul(fields[1]));
        table.value.push_back(static_cast<unsigned char>(fields[2][0]) * 256UL +
                              static_cast<unsigned char>(fields[2][1]));
    }
    return table;
}

// Walks a table from its first line on. The answer that the command should give.
Answer scan(const Table& table, const std::string& key) {
    const Number number = readAddress(key);
    for (size_t i = 0; i < table.first.size(); ++i) {
        if (table.first[i] <= number && number <= table.last[i]) {
            return {key, table.value[i], table.idBefore + i + 1};
        }
    }
    return {key, 0, 0};
}

// The next answer of the command; one without a key at the end.
Answer nextAnswer(std::istream& file) {
    std::string line;
    if (!std::getline(file, line)) {
        return {};
    }
    const std::vector<std::string> fields = split(line, '\t');
    if (fields.size() != 5) {
        stop("unexpected answer: " + line);
    }
    return {fields[0], std::stoul(fields[3]), std::stoul(fields[4])};
}

// Counts the ranges whose first address was not answered with the range itself. An address without an
// answer is recognised by the next answer being for another one.
size_t countLostRanges(const Table& table, std::istream& probes, Answer& answer) {
    size_t lost = 0;
    for (size_t i = 0; i < table.first.size(); ++i) {
        const bool answered = !answer.key.empty() && readAddress(answer.key) == table.first[i];
        if (!answered || answer.id != table.idBefore + i + 1 || answer.value != table.value[i]) {
            ++lost;
        }
        if (answered) {
            answer = nextAnswer(probes);
        }
    }
    return lost;
}

struct Tally {
    uint32_t checked = 0;
    uint32_t covered = 0;
    uint32_t differences = 0;
};

Tally compareAnswers(const Table& ipv4, const Table& ipv6, std::istream& keys,
                     std::istream& answers, uint32_t count) {
    Tally tally;
    Answer answer = nextAnswer(answers);
    for (std::string key; tally.checked < count && std::getline(keys, key); ++tally.checked) {
        const Answer expected = scan(isIpv6(key) ? ipv6 : ipv4, key);
        const Answer given = answer.key == key ? answer : Answer{key, 0, 0};
        if (given.id != 0) {
            answer = nextAnswer(answers);
        }
        tally.covered += expected.id != 0 ? 1 : 0;
        if (given.id == expected.id && given.value == expected.value) {
            continue;
        }
        if (++tally.differences <= SHOWN_DIFFERENCES) {
            std::printf("%s: rule %lu expected, rule %lu answered (0: none)\n", key.c_str(),
                        expected.id, given.id);
        }
    }
    return tally;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 7) {
        stop("usage: geoip_check GEOIP GEOIP6 PROBES KEYS ANSWERS COUNT");
    }
    const Table ipv4 = readTable(argv[1]);
    Table ipv6 = readTable(argv[2]);
    ipv6.idBefore = ipv4.first.size();

    std::ifstream probes = open(argv[3]);
    Answer probe = nextAnswer(probes);
    const size_t lost = countLostRanges(ipv4, probes, probe) + countLostRanges(ipv6, probes, probe);
    std::printf("%zu ranges checked, %zu not found\n", ipv4.first.size() + ipv6.first.size(), lost);

    std::ifstream keys = open(argv[4]);
    std::ifstream answers = open(argv[5]);
    const Tally tally =
        compareAnswers(ipv4, ipv6, keys, answers, static_cast<uint32_t>(std::stoul(argv[6])));
    std::printf("%u addresses checked (%u inside a range), %u differences\n", tally.checked,
                tally.covered, tally.differences);
    return lost == 0 && tally.differences == 0 && tally.checked != 0 ? 0 : 1;
}
